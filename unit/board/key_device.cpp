#include "unit/board/key_device.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <libevdev/libevdev.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include "platform/threads.h"

namespace unit {
namespace {

constexpr int FOREVER = -1;

}  // namespace

KeyDevice::KeyDevice(std::string path, KeyMap map, platform::board_state_t& board)
    : path_(std::move(path)),
      map_(std::move(map)),
      held_(platform::KeysHeldBy(board, platform::key_source_t::KEY_DEVICE)),
      stop_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (stop_.Get() < 0) throw std::system_error(errno, std::generic_category(), "no event descriptor");
  thread_ = std::thread([this] { Run(); });
}

KeyDevice::~KeyDevice() {
  const std::uint64_t one = 1;
  [[maybe_unused]] const auto written = ::write(stop_.Get(), &one, sizeof one);
  thread_.join();
}

std::string KeyDevice::Problem() const {
  const std::lock_guard lock(mutex_);
  return problem_;
}

void KeyDevice::SetProblem(std::string problem) {
  const std::lock_guard lock(mutex_);
  problem_ = std::move(problem);
}

void KeyDevice::Run() {
  platform::NameThread("board keys");
  do {
    try {
      const InputDevice device = Open();
      SetProblem({});
      Follow(device);
      return;
    } catch (const std::runtime_error& error) {
      held_.store(0);
      SetProblem(error.what());
    }
  } while (!WaitForStop(-1, static_cast<int>(RETRY.count())));
}

InputDevice KeyDevice::Open() const {
  InputDevice device(path_, O_RDONLY);
  if (map_.Held([&](unsigned code) { return libevdev_has_event_code(device.Evdev(), EV_KEY, code) != 0; }) ==
      0) {
    throw std::runtime_error(path_ + ": has none of the mapped keys; name another device or give --key-map");
  }
  device.Grab();
  return device;
}

// Returns when the thread is to end; throws when the device is unplugged. A key that is down already counts as
// held.
void KeyDevice::Follow(const InputDevice& device) {
  Hold(device);
  while (!WaitForStop(device.Get(), FOREVER)) DrainEvents(device);
  held_.store(0);
}

// libevdev updates the state of the keys with each event that it returns, so that a repeated press (value 2)
// changes nothing. After lost events (SYN_DROPPED) it returns events for what has changed meanwhile.
void KeyDevice::DrainEvents(const InputDevice& device) {
  unsigned mode = LIBEVDEV_READ_FLAG_NORMAL;
  for (;;) {
    input_event event{};
    const int result = libevdev_next_event(device.Evdev(), mode, &event);
    if (result == LIBEVDEV_READ_STATUS_SYNC) {
      mode = LIBEVDEV_READ_FLAG_SYNC;
    } else if (result == -EAGAIN && mode == LIBEVDEV_READ_FLAG_SYNC) {
      mode = LIBEVDEV_READ_FLAG_NORMAL;
    } else if (result == -EAGAIN || result == -EINTR) {
      break;
    } else if (result < 0) {
      ThrowUnplugged();
    }
    if (result >= 0 && event.type == EV_SYN) Hold(device);
  }
  // A descriptor at its end stays readable without an error, which would make this a busy loop.
  if (device.IsGone()) ThrowUnplugged();
}

void KeyDevice::ThrowUnplugged() const {
  throw std::runtime_error(path_ + ": was unplugged; waiting for it to be plugged in");
}

void KeyDevice::Hold(const InputDevice& device) {
  held_.store(
      map_.Held([&](unsigned code) { return libevdev_get_event_value(device.Evdev(), EV_KEY, code) != 0; }));
}

bool KeyDevice::WaitForStop(int descriptor, int timeout_ms) const {
  // poll skips a negative descriptor.
  std::array<pollfd, 2> waits{{{stop_.Get(), POLLIN, 0}, {descriptor, POLLIN, 0}}};
  return ::poll(waits.data(), waits.size(), timeout_ms) > 0 && waits[0].revents != 0;
}

}  // namespace unit
