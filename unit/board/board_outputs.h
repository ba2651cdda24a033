// The outputs of a real display unit: beeper and backlight follow the registers of the board.
//
// They have a thread of their own because the board service's thread waits for the notification manager, and a
// beep must not become longer by that wait.
#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "platform/board_state.h"

#include "unit/board/beeper_device.h"
#include "unit/board/kernel_backlight.h"
#include "unit/board/sound_follower.h"

namespace unit {

class BoardOutputs {
 public:
  static constexpr std::chrono::milliseconds PACE{10};

  // An empty name means that the unit has no such device. Starts the thread; `board` must outlive the object.
  // Throws std::runtime_error with the problem and what to do about it.
  BoardOutputs(const std::string& beeperDevice, const std::string& backlightDirectory,
               const platform::board_state_t& board);
  // Silences the beeper; the light stays as it is.
  ~BoardOutputs();
  BoardOutputs(const BoardOutputs&) = delete;
  BoardOutputs& operator=(const BoardOutputs&) = delete;

  // Why a device does not follow its register; empty when it does. Any thread.
  std::string BeeperProblem() const;
  std::string BacklightProblem() const;

 private:
  void Run();
  void Step();

  const platform::board_state_t& board_;
  SoundFollower sound_;                       // the thread's
  std::optional<BeeperDevice> beeper_;        // the thread's
  std::optional<KernelBacklight> backlight_;  // the thread's
  mutable std::mutex mutex_;                  // guards the three below
  std::string beeperProblem_, backlightProblem_;
  bool stopping_ = false;
  std::condition_variable wake_;
  std::thread thread_;
};

}  // namespace unit
