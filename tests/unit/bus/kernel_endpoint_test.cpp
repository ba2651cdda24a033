// These need CAN in the kernel with vcan0 and vcan1 up, and the right to change the latter: run under
// tools/can-kernel.
#include <gmock/gmock.h>
#include <linux/can.h>
#include <linux/can/raw.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "bus/endpoint.h"

namespace {

using testing::HasSubstr;
using Result = bus::Endpoint::Result;

class KernelEndpoint : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(::if_nametoindex("vcan0") != 0 && ::if_nametoindex("vcan1") != 0)
        << "run under tools/can-kernel";
  }
};

void SwitchInterface(const char* interface, bool up) {
  ifreq request{};
  std::string_view(interface).copy(request.ifr_name, IFNAMSIZ - 1);
  const int fd = ::socket(AF_INET, SOCK_DGRAM, 0);
  ::ioctl(fd, SIOCGIFFLAGS, &request);
  request.ifr_flags = static_cast<short>(up ? request.ifr_flags | IFF_UP : request.ifr_flags & ~IFF_UP);
  ASSERT_EQ(::ioctl(fd, SIOCSIFFLAGS, &request), 0);
  ::close(fd);
}

TEST_F(KernelEndpoint, HearsTheOtherStationsDataFramesAndNotItsOwn) {
  const auto one = bus::OpenEndpoint("socketcan:vcan0");
  const auto other = bus::OpenEndpoint("socketcan:vcan0");
  const bus::frame_t extended{.identifier = 0x18FF00D0, .length = 3, .data = {0, 1, 6}};
  const bus::frame_t standard{.identifier = 0x123, .extended = false, .length = 0};
  const int raw = ::socket(PF_CAN, SOCK_RAW, CAN_RAW);
  sockaddr_can address{};
  address.can_family = AF_CAN;
  address.can_ifindex = static_cast<int>(::if_nametoindex("vcan0"));
  const void* generic = &address;
  ASSERT_EQ(::bind(raw, static_cast<const sockaddr*>(generic), sizeof address), 0);
  can_frame remote{};
  remote.can_id = 0x123 | CAN_RTR_FLAG;
  ASSERT_EQ(::write(raw, &remote, sizeof remote), static_cast<ssize_t>(sizeof remote));
  ::close(raw);

  ASSERT_EQ(one->Send(extended, 1000), Result::kOk);
  ASSERT_EQ(one->Send(standard, 1000), Result::kOk);
  bus::frame_t frame;
  ASSERT_EQ(other->Receive(frame, 1000), Result::kOk);
  EXPECT_NE(frame.time_us, 0U);
  EXPECT_EQ(bus::FormatSocketcandSend(frame), "< send 18FF00D0 3 00 01 06 >");
  ASSERT_EQ(other->Receive(frame, 1000), Result::kOk);
  EXPECT_EQ(bus::FormatSocketcandSend(frame), "< send 123 0 >");
  EXPECT_EQ(one->Receive(frame, 50), Result::kTimeout);
}

TEST_F(KernelEndpoint, ReportsAnInterfaceThatGoesDownAndOpensAgainOnceItIsUp) {
  auto station = bus::OpenEndpoint("socketcan:vcan1");
  SwitchInterface("vcan1", false);
  bus::frame_t frame{};
  EXPECT_EQ(station->Receive(frame, 2000), Result::kDown);
  EXPECT_EQ(station->Send(frame, 100), Result::kDown);
  EXPECT_EQ(station->Problem(), "vcan1: interface is down");
  EXPECT_THAT([] { bus::OpenEndpoint("socketcan:vcan1"); },
              testing::ThrowsMessage<std::runtime_error>(HasSubstr("ip link set vcan1 up")));
  SwitchInterface("vcan1", true);
  station = bus::OpenEndpoint("socketcan:vcan1");
  EXPECT_EQ(station->Send(frame, 1000), Result::kOk);
}

}  // namespace
