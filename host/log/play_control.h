// What holds a log that plays: the space bar on the terminal, a stopped process, and the end.
#pragma once

#include <chrono>
#include <functional>
#include <optional>

#include <termios.h>

#include "host/link/stop_signal.h"

namespace host {

// Single keys from standard input while it is this process's terminal; nothing else is read from it. Puts the
// terminal back as it was.
class Keyboard {
 public:
  explicit Keyboard(bool wanted);
  ~Keyboard();
  Keyboard(const Keyboard&) = delete;
  Keyboard& operator=(const Keyboard&) = delete;
  bool Listening() const { return listening_; }
  // Takes the keys that were hit; true when the space bar was hit an odd number of times.
  bool SpaceHit();
  // Asks for single keys again, after a shell had the terminal.
  void Resume();

 private:
  bool listening_ = false;
  termios before_{};
};

// Waits for the next frame's time, put off by as long as the log was held meanwhile. One at a time: it notes
// SIGCONT while it exists. All calls from one thread.
class PlayControl {
 public:
  using Clock = std::chrono::steady_clock;

  // `showPaused` is called with true at a pause by the space bar, and with false behind it.
  PlayControl(const StopSignal& stop, bool keys, std::function<void(bool)> showPaused);
  ~PlayControl();
  PlayControl(const PlayControl&) = delete;
  PlayControl& operator=(const PlayControl&) = delete;

  // How long the log was held, 0 mostly; empty when a stop came first.
  std::optional<Clock::duration> WaitUntil(Clock::time_point when);
  // A frame was sent. The player sees for itself that this took long.
  void Sent();
  bool Listening() const { return keyboard_.Listening(); }

 private:
  Clock::duration Stoppage();
  std::optional<Clock::duration> HoldWhilePaused();

  const StopSignal& stop_;
  Keyboard keyboard_;
  std::function<void(bool)> showPaused_;
  Clock::time_point lastAlive_ = Clock::now();
};

}  // namespace host
