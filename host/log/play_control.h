// What pauses or ends a log that plays: the space bar, a stopped process, and the stop signal.
#pragma once

#include <chrono>
#include <functional>
#include <optional>

#include <termios.h>

#include "host/link/stop_signal.h"

namespace host {

// Reads single keys from standard input while it is the terminal of this process. The destructor restores the
// terminal's settings.
class TerminalKeys {
 public:
  explicit TerminalKeys(bool wanted);
  ~TerminalKeys();
  TerminalKeys(const TerminalKeys&) = delete;
  TerminalKeys& operator=(const TerminalKeys&) = delete;
  bool Listening() const { return listening_; }
  // Takes the keys that were pressed. Returns true if the space bar was pressed an odd number of times.
  bool DrainKeys();
  // Sets the terminal to single keys again after a shell has used it.
  void Resume();

 private:
  bool listening_ = false;
  termios before_{};
};

// Waits for the next frame's time, later by as long as the log was paused meanwhile. Only one may exist at a
// time, because it handles SIGCONT. All calls from one thread.
class PlayControl {
 public:
  using Clock = std::chrono::steady_clock;

  // `showPaused` is called with true when the space bar begins a pause and with false when the pause ends.
  PlayControl(const StopSignal& stop, bool keys, std::function<void(bool)> showPaused);
  ~PlayControl();
  PlayControl(const PlayControl&) = delete;
  PlayControl& operator=(const PlayControl&) = delete;

  // Returns how long the log was paused while it waited, usually 0; empty if a stop came first.
  std::optional<Clock::duration> WaitUntil(Clock::time_point when);
  // Call after each sent frame. Time that the sending itself took does not count as a pause here: the player
  // measures it.
  void NoteSent();
  bool Listening() const { return keys_.Listening(); }

 private:
  Clock::duration DrainStoppedTime();
  std::optional<Clock::duration> WaitWhilePaused();

  const StopSignal& stop_;
  TerminalKeys keys_;
  std::function<void(bool)> showPaused_;
  Clock::time_point lastAlive_ = Clock::now();
};

}  // namespace host
