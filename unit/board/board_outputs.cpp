#include "unit/board/board_outputs.h"

#include "platform/threads.h"

#include "unit/board/board_view.h"
#include "unit/service/liveness.h"

namespace unit {

BoardOutputs::BoardOutputs(const std::string& beeperDevice, const std::string& backlightDirectory,
                           const platform::board_state_t& board)
    : board_(board) {
  if (!backlightDirectory.empty()) backlight_.emplace(backlightDirectory);
  if (!beeperDevice.empty()) beeper_.emplace(beeperDevice);
  thread_ = std::thread([this] { Run(); });
}

BoardOutputs::~BoardOutputs() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  wake_.notify_all();
  thread_.join();
}

std::string BoardOutputs::BeeperProblem() const {
  const std::lock_guard lock(mutex_);
  return beeperProblem_;
}

std::string BoardOutputs::BacklightProblem() const {
  const std::lock_guard lock(mutex_);
  return backlightProblem_;
}

void BoardOutputs::Run() {
  platform::NameThread("board outputs");
  Liveness liveness("board outputs");
  std::unique_lock lock(mutex_);
  while (!stopping_) {
    lock.unlock();
    liveness.Note();
    Step();
    lock.lock();
    if (beeper_) beeperProblem_ = beeper_->Problem();
    if (backlight_) backlightProblem_ = backlight_->Problem();
    wake_.wait_for(lock, PACE, [this] { return stopping_; });
  }
}

void BoardOutputs::Step() {
  const board_view_t view = ViewBoard(board_);
  const auto now = std::chrono::steady_clock::now();
  if (beeper_) beeper_->Sound(sound_.Follow(view.sounding, view.pulses, now), now);
  if (backlight_) backlight_->Follow(view.backlightEnabled, view.backlightPeriod, view.backlightDuty, now);
}

}  // namespace unit
