#include "unit/board/input_device.h"

#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <libevdev/libevdev.h>
#include <poll.h>
#include <unistd.h>

namespace unit {
namespace {

const char* Remedy(int error) {
  switch (error) {
    case ENOENT:
    case ENODEV:
    case ENXIO:
      return "; waiting for it to be plugged in";
    case EACCES:
    case EPERM:
      return "; add this user to the group that owns it";
    case EBUSY:
      return "; another program has grabbed it, stop that program";
    case ENOTTY:
    case EINVAL:
      return "; it is no input device";
    default:
      return "";
  }
}

[[noreturn]] void RefuseDevice(const std::string& path, int error) {
  throw std::runtime_error(path + ": " + std::generic_category().message(error) + Remedy(error));
}

}  // namespace

void InputDevice::free_t::operator()(libevdev* evdev) const {
  libevdev_free(evdev);
}

InputDevice::InputDevice(const std::string& path, int flags)
    : path_(path), descriptor_(::open(path.c_str(), flags | O_NONBLOCK | O_CLOEXEC | O_NOCTTY)) {
  if (descriptor_.Get() < 0) RefuseDevice(path, errno);
  libevdev* evdev = nullptr;
  const int result = libevdev_new_from_fd(descriptor_.Get(), &evdev);
  if (result != 0) RefuseDevice(path, -result);
  evdev_.reset(evdev);
}

void InputDevice::Grab() {
  const int result = libevdev_grab(evdev_.get(), LIBEVDEV_GRAB);
  if (result != 0) RefuseDevice(path_, -result);
}

bool InputDevice::Send(std::uint16_t type, std::uint16_t code, std::int32_t value) const {
  std::array<input_event, 2> frame{};  // the kernel sets the time
  frame[0].type = type;
  frame[0].code = code;
  frame[0].value = value;
  frame[1].type = EV_SYN;
  frame[1].code = SYN_REPORT;
  return ::write(descriptor_.Get(), frame.data(), sizeof frame) == static_cast<ssize_t>(sizeof frame);
}

bool InputDevice::IsGone() const {
  pollfd wait{descriptor_.Get(), 0, 0};
  return ::poll(&wait, 1, 0) > 0 && (wait.revents & (POLLERR | POLLHUP)) != 0;
}

}  // namespace unit
