// Needs CAN in the kernel with vcan0 up: run under tools/can-kernel.
#include <gtest/gtest.h>
#include <linux/can.h>
#include <linux/can/raw.h>
#include <net/if.h>
#include <sys/socket.h>
#include <unistd.h>

#include "bus/endpoint.h"
#include "bus/socketcand_text.h"

namespace {

using Result = bus::Endpoint::result_t;

TEST(KernelEndpointTest, HearsTheOtherStationsDataFramesAndNotItsOwn) {
  ASSERT_NE(::if_nametoindex("vcan0"), 0U) << "run under tools/can-kernel";
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

  ASSERT_EQ(one->Send(extended, 1000), Result::OK);
  ASSERT_EQ(one->Send(standard, 1000), Result::OK);
  bus::frame_t frame;
  ASSERT_EQ(other->Receive(frame, 1000), Result::OK);
  EXPECT_NE(frame.time_us, 0U);
  EXPECT_EQ(bus::FormatSocketcandSend(frame), "< send 18FF00D0 3 00 01 06 >");
  ASSERT_EQ(other->Receive(frame, 1000), Result::OK);
  EXPECT_EQ(bus::FormatSocketcandSend(frame), "< send 123 0 >");
  EXPECT_EQ(one->Receive(frame, 50), Result::TIMEOUT);
}

}  // namespace
