#include "bus/kernel_endpoint.h"

// A raw CAN socket. The kernel reports an interface that is down or gone as a socket error, bus-off as an error
// frame.
#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <linux/can.h>
#include <linux/can/error.h>
#include <linux/can/raw.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/time.h>

#include "bus/wait.h"

namespace bus {
namespace {

constexpr int RECEIVE_QUEUE_BYTES = 4 << 20;
constexpr std::chrono::milliseconds QUEUE_RETRY{1};  // a frame takes some 100 us on the bus

class KernelEndpoint : public Endpoint {
 public:
  KernelEndpoint(base::Descriptor socket, std::string interface)
      : socket_(std::move(socket)), interface_(std::move(interface)) {}
  result_t Send(const frame_t& frame, int timeout_ms) override;
  result_t Receive(frame_t& frame, int timeout_ms) override;
  void Interrupt() override { waker_.Wake(); }
  std::uint64_t Lost() const override { return lost_; }
  std::string Problem() const override { return problem_.Get(); }

 private:
  bool ReadFrame(can_frame& raw, std::uint64_t& time_us);
  result_t Down(const std::string& what);
  result_t DownBy(int error);

  base::Descriptor socket_;
  const std::string interface_;
  Waker waker_;
  std::atomic<std::uint32_t> lost_ = 0;
  ProblemText problem_;
};

can_frame ToKernel(const frame_t& frame) {
  can_frame raw{};
  raw.can_id = frame.identifier | (frame.extended ? CAN_EFF_FLAG : 0U);
  raw.can_dlc = std::min<std::uint8_t>(frame.length, CAN_MAX_DLEN);
  std::copy_n(frame.data.begin(), raw.can_dlc, raw.data);
  return raw;
}

frame_t FromKernel(const can_frame& raw, std::uint64_t time_us) {
  frame_t frame;
  frame.extended = (raw.can_id & CAN_EFF_FLAG) != 0;
  frame.identifier = raw.can_id & (frame.extended ? CAN_EFF_MASK : CAN_SFF_MASK);
  frame.length = std::min<std::uint8_t>(raw.can_dlc, CAN_MAX_DLEN);
  std::copy_n(raw.data, frame.length, frame.data.begin());
  frame.time_us = time_us;
  return frame;
}

bool IsBusOff(const can_frame& raw) {
  return (raw.can_id & CAN_ERR_FLAG) != 0 && (raw.can_id & CAN_ERR_BUSOFF) != 0;
}

bool IsData(const can_frame& raw) {
  return (raw.can_id & (CAN_ERR_FLAG | CAN_RTR_FLAG)) == 0;
}

template <typename T>
T ControlValue(cmsghdr* part) {
  T value{};
  std::memcpy(&value, CMSG_DATA(part), sizeof value);
  return value;
}

// The kernel's control data for a frame: the time at which the kernel received it, and how many frames the
// socket's full queue has dropped since it was opened.
struct reception_t {
  std::uint64_t time_us = 0;
  std::optional<std::uint32_t> lost;
};

reception_t ReadReception(msghdr& header) {
  reception_t result;
  for (cmsghdr* part = CMSG_FIRSTHDR(&header); part != nullptr; part = CMSG_NXTHDR(&header, part)) {
    if (part->cmsg_level != SOL_SOCKET) continue;
    if (part->cmsg_type == SO_RXQ_OVFL) result.lost = ControlValue<std::uint32_t>(part);
    if (part->cmsg_type != SCM_TIMESTAMP) continue;
    const auto stamp = ControlValue<timeval>(part);
    result.time_us =
        static_cast<std::uint64_t>(stamp.tv_sec) * 1'000'000U + static_cast<std::uint64_t>(stamp.tv_usec);
  }
  if (result.time_us == 0) result.time_us = RealTime_us();
  return result;
}

Endpoint::result_t KernelEndpoint::Down(const std::string& what) {
  problem_.Set(interface_ + ": " + what);
  return result_t::DOWN;
}

Endpoint::result_t KernelEndpoint::DownBy(int error) {
  if (error == ENETDOWN) return Down("interface is down");
  if (error == ENODEV || error == ENXIO) return Down("interface is gone");
  return Down(ErrorText(error));
}

Endpoint::result_t KernelEndpoint::Send(const frame_t& frame, int timeout_ms) {
  if (problem_.Any()) return result_t::DOWN;
  const Deadline deadline(timeout_ms);
  const can_frame raw = ToKernel(frame);
  for (;;) {
    if (::send(socket_.Get(), &raw, sizeof raw, MSG_DONTWAIT | MSG_NOSIGNAL) == sizeof raw) return result_t::OK;
    const int error = errno;
    if (error != ENOBUFS && error != EAGAIN && error != EINTR) return DownBy(error);
    if (deadline.Left_ms() == 0) return result_t::TIMEOUT;
    // poll reports the socket as writable also while the interface's queue is full, so this waits for a fixed
    // time.
    std::this_thread::sleep_for(QUEUE_RETRY);
  }
}

// False with errno set; EBADMSG for a message that is not a classic frame.
bool KernelEndpoint::ReadFrame(can_frame& raw, std::uint64_t& time_us) {
  alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(timeval)) + CMSG_SPACE(sizeof(std::uint32_t))> control{};
  iovec part{&raw, sizeof raw};
  msghdr header{};
  header.msg_iov = &part;
  header.msg_iovlen = 1;
  header.msg_control = control.data();
  header.msg_controllen = control.size();
  const ssize_t got = ::recvmsg(socket_.Get(), &header, MSG_DONTWAIT);
  if (got < 0) return false;
  if (got != sizeof raw) {
    errno = EBADMSG;
    return false;
  }
  const reception_t read = ReadReception(header);
  time_us = read.time_us;
  if (read.lost) lost_ = *read.lost;
  return true;
}

Endpoint::result_t KernelEndpoint::Receive(frame_t& frame, int timeout_ms) {
  if (problem_.Any()) return result_t::DOWN;
  const Deadline deadline(timeout_ms);
  for (;;) {
    can_frame raw{};
    std::uint64_t time_us = 0;
    if (ReadFrame(raw, time_us)) {
      if (IsBusOff(raw)) return Down("bus is off");
      if (!IsData(raw)) continue;
      frame = FromKernel(raw, time_us);
      return result_t::OK;
    }
    if (errno != EAGAIN && errno != EINTR && errno != EBADMSG) return DownBy(errno);
    // Waits only when nothing was there, so that a busy bus costs one system call a frame.
    if (errno == EAGAIN && WaitReadable(socket_.Get(), waker_, deadline) != wait_t::READY)
      return result_t::TIMEOUT;
  }
}

[[noreturn]] void RefuseInterface(const std::string& interface, const std::string& what) {
  throw std::runtime_error(interface + ": " + what);
}

// The kernel also binds a socket to an interface that is down; such a socket would receive nothing and report
// no error.
void RequireUp(int fd, const std::string& interface) {
  ifreq request{};
  interface.copy(request.ifr_name, IFNAMSIZ - 1);
  if (::ioctl(fd, SIOCGIFFLAGS, &request) < 0) RefuseInterface(interface, ErrorText(errno));
  if ((request.ifr_flags & IFF_UP) == 0) {
    RefuseInterface(interface, "interface is down; bring it up with: ip link set " + interface + " up");
  }
}

void Configure(int fd, const std::string& interface) {
  const can_err_mask_t errors = CAN_ERR_BUSOFF;
  const int on = 1;
  if (::setsockopt(fd, SOL_CAN_RAW, CAN_RAW_ERR_FILTER, &errors, sizeof errors) < 0 ||
      ::setsockopt(fd, SOL_SOCKET, SO_TIMESTAMP, &on, sizeof on) < 0 ||
      ::setsockopt(fd, SOL_SOCKET, SO_RXQ_OVFL, &on, sizeof on) < 0) {
    RefuseInterface(interface, ErrorText(errno));
  }
  // Room for some seconds of a busy bus. Without the privilege for that, as much as the system allows.
  if (::setsockopt(fd, SOL_SOCKET, SO_RCVBUFFORCE, &RECEIVE_QUEUE_BYTES, sizeof RECEIVE_QUEUE_BYTES) < 0)
    ::setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &RECEIVE_QUEUE_BYTES, sizeof RECEIVE_QUEUE_BYTES);
}

void Bind(int fd, const std::string& interface) {
  const unsigned index = ::if_nametoindex(interface.c_str());
  if (index == 0 || interface.size() >= IFNAMSIZ) {
    RefuseInterface(interface, "no such interface; `ip link show type can` lists them");
  }
  sockaddr_can address{};
  address.can_family = AF_CAN;
  address.can_ifindex = static_cast<int>(index);
  const void* bytes = &address;
  if (::bind(fd, static_cast<const sockaddr*>(bytes), sizeof address) < 0) {
    RefuseInterface(interface, "is no CAN interface: " + ErrorText(errno));
  }
}

}  // namespace

std::unique_ptr<Endpoint> OpenKernelInterface(const std::string& interface) {
  base::Descriptor socket(::socket(PF_CAN, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, CAN_RAW));
  if (socket.Get() < 0) {
    RefuseInterface(interface,
                    "this kernel has no CAN (" + ErrorText(errno) + "); load its can-raw module, or use local");
  }
  Configure(socket.Get(), interface);
  Bind(socket.Get(), interface);
  RequireUp(socket.Get(), interface);
  return std::make_unique<KernelEndpoint>(std::move(socket), interface);
}

}  // namespace bus
