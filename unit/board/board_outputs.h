// The outputs of a real display unit: has the beeper and the backlight follow the board's words.
//
// On a thread of its own: the board's watch waits for the notification manager, and no beep may last as long as
// that.
#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "platform/board_state.h"

#include "unit/board/backlight.h"
#include "unit/board/beeper_device.h"
#include "unit/board/sound_follower.h"

namespace unit {

class BoardOutputs {
 public:
  static constexpr std::chrono::milliseconds PACE{10};

  // Empty: there is no such part. Starts the thread; `board` must outlive this. Throws std::runtime_error with
  // what is wrong and what to do.
  BoardOutputs(const std::string& beeperDevice, const std::string& backlightDirectory,
               const platform::board_state_t& board);
  // Silences the beeper; the light stays as it is.
  ~BoardOutputs();
  BoardOutputs(const BoardOutputs&) = delete;
  BoardOutputs& operator=(const BoardOutputs&) = delete;

  // What keeps either from following; empty when nothing does. Any thread.
  std::string BeeperProblem() const;
  std::string BacklightProblem() const;

 private:
  void Run();
  void Step();

  const platform::board_state_t& board_;
  SoundFollower sound_;                 // the thread's
  std::optional<BeeperDevice> beeper_;  // the thread's
  std::optional<Backlight> backlight_;  // the thread's
  mutable std::mutex mutex_;            // guards the three below
  std::string beeperProblem_, backlightProblem_;
  bool stopping_ = false;
  std::condition_variable wake_;
  std::thread thread_;
};

}  // namespace unit
