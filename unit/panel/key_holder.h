// Presses the front keys: held until released, or released by itself after a while.
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
  using time_t = std::chrono::steady_clock::time_point;
  static constexpr std::chrono::milliseconds PRESS{150};

  // Holds or releases key 1 to 8. False when there is no board.
  bool Set(int key, bool held);
  // Holds the key now and releases it PRESS later. Pressed again meanwhile, it is held that much longer.
  bool Press(int key, time_t now);
  // The board as it stands (see board/board_view.h), as JSON; empty when there is none.
  std::string View();
  // Releases what is due. To be called every few milliseconds.
  void Step(time_t now);

 private:
  platform::board_state_t* Board();

  std::mutex mutex_;  // guards the two below
  std::unique_ptr<platform::BoardMapping> mapping_;
  std::array<std::optional<time_t>, KEY_COUNT> releases_;
};

}  // namespace unit
