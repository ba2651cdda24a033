// An open input device of the kernel (evdev, /dev/input/event*).
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "base/descriptor.h"

struct libevdev;

namespace unit {

// For one thread. The destructor closes the device, which also ends a grab.
class InputDevice {
 public:
  // `flags` as for open(2); never waits. Throws std::runtime_error with the path, the problem and what to do
  // about it.
  InputDevice(const std::string& path, int flags);

  const std::string& Path() const { return path_; }
  int Get() const { return descriptor_.Get(); }
  libevdev* Evdev() const { return evdev_.get(); }

  // Takes the device's events away from every other program. Throws as above when another program has grabbed
  // it.
  void Grab();
  // Sends one event and the report that ends it. False, with errno set, when the device does not accept it.
  bool Send(std::uint16_t type, std::uint16_t code, std::int32_t value) const;
  // The device has been unplugged.
  bool IsGone() const;

 private:
  struct free_t {
    void operator()(libevdev* evdev) const;
  };

  std::string path_;
  base::Descriptor descriptor_;
  std::unique_ptr<libevdev, free_t> evdev_;
};

}  // namespace unit
