// Tells the user how a check goes on: one line for each case that has ended, and on a terminal a line that
// shows what runs.
#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <mutex>
#include <string>

#include "host/check/case_run.h"

namespace check {

// Any thread.
class Progress {
 public:
  // Shows the running cases only where standard error is a terminal.
  explicit Progress(std::size_t cases);

  void Begin(std::size_t number, const case_t& run);
  // The desk is up, and the scenario begins.
  void BeginScenario(std::size_t number);
  void End(std::size_t number, const case_result_t& result);
  // Draws the line of the running cases again. To be called a few times a second.
  void Refresh();
  // Removes that line.
  void Close();

 private:
  using Clock = std::chrono::steady_clock;
  struct running_case_t {
    case_t run;
    Clock::time_point begun{};  // of the scenario; the clock's zero before it
  };
  void Clear() const;
  void Draw() const;

  const bool live_;
  const std::size_t cases_;
  mutable std::mutex mutex_;  // guards the rest, and the terminal
  std::map<std::size_t, running_case_t> running_;
  std::size_t ended_ = 0;
  std::size_t failed_ = 0;
};

}  // namespace check
