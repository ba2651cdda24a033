// Detects that the board was made anew. The application opens the board's devices once, when it starts, and
// would stay with the old one: no key would reach it, and no beep the operator.
#pragma once

#include <chrono>
#include <memory>

#include "platform/board_state.h"

namespace unit {

// For one thread.
class BoardWatch {
 public:
  static constexpr std::chrono::milliseconds LOOK_PERIOD{250};

  BoardWatch();
  // True once for each board that replaced an earlier one, or appeared where there was none. Looks at most once
  // in LOOK_PERIOD.
  bool WasReplaced();

 private:
  std::unique_ptr<platform::BoardMapping> board_;  // the one known last
  std::chrono::steady_clock::time_point nextLook_;
};

}  // namespace unit
