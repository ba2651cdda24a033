// The front keys of a real display unit: a key of an input device that goes down or up presses or releases its
// front key of the board.
//
// The device is grabbed: a key that means "next page" here must not type into a console. While the device is
// not plugged in, its keys count as released and it is looked for once a second. The device must have at least
// one key of the map, because the kernel numbers input devices anew at each start: a touch screen may have the
// number that the keys had.
#pragma once

#include <chrono>
#include <mutex>
#include <string>
#include <thread>

#include "platform/board_state.h"

#include "unit/board/input_device.h"
#include "unit/board/key_map.h"

namespace unit {

class KeyDevice {
 public:
  static constexpr std::chrono::milliseconds RETRY{1000};

  // Starts the thread, the only one that writes the board's word of key_source_t::KEY_DEVICE. `board` must
  // outlive the object. Throws std::runtime_error when the system has no thread or descriptor left.
  KeyDevice(std::string path, KeyMap map, platform::board_state_t& board);
  // Releases all keys.
  ~KeyDevice();
  KeyDevice(const KeyDevice&) = delete;
  KeyDevice& operator=(const KeyDevice&) = delete;

  // Why the device is not read; empty while it is. Any thread.
  std::string Problem() const;

 private:
  void Run();
  InputDevice Open() const;
  void Follow(const InputDevice& device);
  void DrainEvents(const InputDevice& device);
  void Hold(const InputDevice& device);
  // Waits until the descriptor is readable, the time is over, or the thread is to end. True for the last.
  bool WaitForStop(int descriptor, int timeout_ms) const;
  [[noreturn]] void ThrowUnplugged() const;
  void SetProblem(std::string problem);

  const std::string path_;
  const KeyMap map_;
  platform::board_word_t& held_;
  mutable std::mutex mutex_;  // guards the next
  std::string problem_;
  base::Descriptor stop_;  // readable once the thread is to end
  std::thread thread_;
};

}  // namespace unit
