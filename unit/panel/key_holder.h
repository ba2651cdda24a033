// Holds the front keys for the front panel, until they are released or for a short time.
#pragma once

#include <array>
#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "platform/board_state.h"

#include "unit/board/keys.h"

namespace unit {

// Any thread.
class KeyHolder {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;
  static constexpr std::chrono::milliseconds PRESS{150};

  // Holds or releases key 1 to 8. False when there is no board.
  bool Set(int key, bool held);
  // Holds the key and releases it after PRESS. A second press before that starts the time again.
  bool Press(int key, TimePoint now);
  // The state of the board as JSON (see board/board_view.h); empty when there is no board.
  std::string View();
  // Releases the keys whose time is over. To be called every few milliseconds.
  void Step(TimePoint now);

 private:
  platform::board_state_t* Board();

  std::mutex mutex_;  // guards the two below
  std::unique_ptr<platform::BoardMapping> mapping_;
  std::array<std::optional<TimePoint>, KEY_COUNT> releases_;
};

}  // namespace unit
