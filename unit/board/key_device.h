// The front keys of a real display unit: follows an input device's keys and holds the board's front keys with
// them.
//
// The device is grabbed, so that its keys reach nobody else on the machine: a key that means "next page" here
// must not type into a console. A device that is not there, or goes, is waited for and looked for once a
// second; its keys are released meanwhile. It must have at least one key of the map: input devices are numbered
// anew at each start, and a touch screen in the keys' place is not to be taken.
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

  // Starts the thread, which alone writes the board's word of key_source_t::KEY_DEVICE; `board` must outlive
  // this. Throws std::runtime_error when the system has no thread or descriptor left.
  KeyDevice(std::string path, KeyMap map, platform::board_state_t& board);
  // Releases all keys.
  ~KeyDevice();
  KeyDevice(const KeyDevice&) = delete;
  KeyDevice& operator=(const KeyDevice&) = delete;

  // What keeps the device from being heard; empty while it is. Any thread.
  std::string Problem() const;

 private:
  void Run();
  InputDevice Open() const;
  void Follow(const InputDevice& device);
  void TakeEvents(const InputDevice& device);
  void Hold(const InputDevice& device);
  // Waits until the descriptor has something, the time is over or the thread is to end; true for the last.
  bool WaitForStop(int descriptor, int timeout_ms) const;
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
