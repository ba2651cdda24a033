#include "unit/board/beeper_device.h"

#include <stdexcept>

#include <fcntl.h>
#include <libevdev/libevdev.h>

namespace unit {

BeeperDevice::~BeeperDevice() {
  if (device_) device_->Send(EV_SND, code_, 0);
}

void BeeperDevice::Sound(bool wanted, TimePoint now) {
  try {
    if (now >= nextLook_) LookAfter(now);
    if (device_ && wanted != sounds_) Send(wanted);
  } catch (const std::runtime_error& error) {
    device_.reset();
    problem_ = error.what();
  }
}

// Once a second, so that a missing device is reported before an alarm needs it.
void BeeperDevice::LookAfter(TimePoint now) {
  nextLook_ = now + RETRY;
  if (device_ && device_->IsGone()) device_.reset();
  if (!device_) Open();
}

void BeeperDevice::Open() {
  InputDevice device(path_, O_WRONLY);
  if (libevdev_has_event_code(device.Evdev(), EV_SND, SND_TONE) != 0) {
    code_ = SND_TONE;
  } else if (libevdev_has_event_code(device.Evdev(), EV_SND, SND_BELL) != 0) {
    code_ = SND_BELL;
  } else {
    throw std::runtime_error(path_ + ": has no sounder; name another device");
  }
  device_ = std::move(device);
  Send(false);
  problem_.clear();
}

void BeeperDevice::Send(bool on) {
  const std::int32_t value = code_ == SND_TONE ? TONE_HERTZ : 1;
  if (!device_->Send(EV_SND, code_, on ? value : 0)) {
    throw std::runtime_error(path_ + ": was unplugged; waiting for it to be plugged in");
  }
  sounds_ = on;
}

}  // namespace unit
