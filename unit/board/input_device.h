// An input device of the kernel (evdev, /dev/input/event*), open.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "base/descriptor.h"

struct libevdev;

namespace unit {

// One thread. Closed, and with that given back to other readers, when destroyed.
class InputDevice {
 public:
  // `flags` as for open(2); never waits. Throws std::runtime_error with the path, what is wrong and what to do.
  InputDevice(const std::string& path, int flags);

  const std::string& Path() const { return path_; }
  int Get() const { return descriptor_.Get(); }
  libevdev* Evdev() const { return evdev_.get(); }

  // Keeps its events from every other reader. Throws as above when another program has done so already.
  void Grab();
  // Sends one event to the device and ends its frame. False, with errno set, when the device does not take it.
  bool Send(std::uint16_t type, std::uint16_t code, std::int32_t value) const;
  // It has been unplugged.
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
