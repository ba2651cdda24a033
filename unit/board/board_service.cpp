#include "unit/board/board_service.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <iostream>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "platform/board_state.h"
#include "platform/shared_memory.h"
#include "platform/threads.h"

#include "bus/can_frame.h"
#include "bus/key_log.h"
#include "unit/blackbox/rolling_log.h"
#include "unit/board/board_outputs.h"
#include "unit/board/board_view.h"
#include "unit/board/key_device.h"
#include "unit/health/notify_link.h"
#include "unit/service/liveness.h"

namespace unit {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr auto PACE = 10ms;
constexpr auto LOOK_PERIOD = 250ms;
// The state is published at least so often, for services that subscribed after the last change.
constexpr auto REPEAT = 1s;
constexpr std::size_t KEYS_KEPT =
    64U << 10U;  // bytes for each of the log's two files: some 4,000 changes together

// Ignores the count of output writes: the application writes its outputs a hundred times a second, changed or
// not.
bool ShowsChange(const board_view_t& view, board_view_t published) {
  published.outputWrites = view.outputWrites;
  return view != published;
}

void AddProblem(std::string& detail, const char* part, const std::string& problem) {
  if (problem.empty()) return;
  detail += (detail.empty() ? "" : "; ") + std::string(part) + ": " + problem;
}

// Owns the board's shared object. One thread reads it every 10 ms and publishes its changes; the devices that
// the options name have threads of their own.
class BoardService : public Service {
 public:
  explicit BoardService(const options_t& options) : options_(options) {}
  ~BoardService() override { BoardService::Stop(); }

  void Start() override {
    const std::lock_guard lock(mutex_);
    if (!MakeBoard()) {
      const std::string obstacle = platform::DescribeObstacle(platform::BOARD_OBJECT_NAME);
      throw std::runtime_error(
          "the board's shared memory cannot be made. " +
          (obstacle.empty()
               ? "Another unit runs in this runtime directory; stop it, or set ORVIK_RUNTIME_DIR to "
                 "another one."
               : obstacle));
    }
    stopping_ = false;
    thread_ = std::thread([this] { Watch(); });
  }

  void Stop() override {
    {
      const std::lock_guard lock(mutex_);
      stopping_ = true;
      // First, because the thread below may be waiting for the notification manager.
      keys_.reset();
      outputs_.reset();
    }
    wake_.notify_all();
    if (thread_.joinable()) thread_.join();
    const std::lock_guard lock(mutex_);
    mapping_.reset();
  }

  status_t GetStatus() const override {
    const std::lock_guard lock(mutex_);
    if (!mapping_) return {"board", false, "stopped", {}};
    const board_view_t view = ViewBoard(*mapping_->Get());
    status_t status{"board", true, {}, {}};
    status.counters = {{"outputWrites", view.outputWrites},
                       {"outputRefused", view.outputRefused},
                       {"pwmChanges", view.backlightChanges},
                       {"pwmRefused", view.pwmRefused},
                       {"beeperPulses", view.pulses},
                       {"blackbox.lost", keyLog_.Lost()},
                       {"made", made_}};
    if (keys_) AddProblem(status.detail, "keys", keys_->Problem());
    if (outputs_) AddProblem(status.detail, "beeper", outputs_->BeeperProblem());
    if (outputs_) AddProblem(status.detail, "backlight", outputs_->BacklightProblem());
    AddProblem(status.detail, "keys", keyLog_.Problem());
    return status;
  }

 private:
  // The mutex is held. False when the object cannot be made.
  bool MakeBoard() {
    mapping_ = std::make_unique<platform::BoardMapping>(platform::BoardMapping::role_t::OWNER);
    if (mapping_->Get() == nullptr) {
      mapping_.reset();
      return false;
    }
    StartParts(*mapping_->Get());
    return true;
  }

  // The mutex is held. Another program may remove the board's object, cut it or write into it. The other
  // services find a new one by themselves, and the application is started again.
  void LookAfterBoard() {
    if (mapping_ && mapping_->IsCurrent()) return;
    if (mapping_) std::cerr << "board: its shared object was removed or damaged; making it anew" << std::endl;
    keys_.reset();
    outputs_.reset();
    mapping_.reset();
    if (MakeBoard()) ++made_;
  }

  void StartParts(platform::board_state_t& board) {
    if (!options_.keysDevice.empty()) {
      KeyMap map = options_.keyMapFile.empty() ? KeyMap::Default() : KeyMap::Read(options_.keyMapFile);
      keys_ = std::make_unique<KeyDevice>(options_.keysDevice, std::move(map), board);
    }
    if (options_.beeperDevice.empty() && options_.backlightDirectory.empty()) return;
    outputs_ = std::make_unique<BoardOutputs>(options_.beeperDevice, options_.backlightDirectory, board);
  }

  void NoteKeys(const std::array<bool, KEY_COUNT>& keys) {
    for (int key = 1; key <= KEY_COUNT; ++key) {
      const auto at = static_cast<std::size_t>(key - 1);
      if (keys[at] == noted_[at]) continue;
      keyLog_.Write(bus::FormatKeyLine({.time_us = bus::RealTime_us(), .key = key, .down = keys[at]}));
    }
    noted_ = keys;
  }

  void Watch() {
    platform::NameThread("board watch");
    Liveness liveness("board watch");
    std::unique_lock lock(mutex_);
    auto nextLook = steady_clock::now() + LOOK_PERIOD;
    while (!stopping_) {
      liveness.Note();
      if (const auto now = steady_clock::now(); now >= nextLook) {
        nextLook = now + LOOK_PERIOD;
        LookAfterBoard();
      }
      if (mapping_) {
        const board_view_t view = ViewBoard(*mapping_->Get());
        lock.unlock();
        NoteKeys(view.keys);
        PublishIfDue(view, steady_clock::now());
        lock.lock();
      }
      wake_.wait_for(lock, PACE, [this] { return stopping_; });
    }
  }

  // Where the manager refuses the message, the next step tries again.
  void PublishIfDue(const board_view_t& view, steady_clock::time_point now) {
    if (!ShowsChange(view, published_) && now < repeatAt_) return;
    if (!link_.Publish(BOARD_CHANNEL_NAME, FormatBoard(view))) return;
    published_ = view;
    repeatAt_ = now + REPEAT;
  }

  const options_t options_;
  NotifyLink link_;
  RollingLog keyLog_{"keys", KEYS_KEPT};
  // Of the service's thread.
  std::array<bool, KEY_COUNT> noted_{};  // the keys as the log has them
  board_view_t published_;
  steady_clock::time_point repeatAt_{};
  mutable std::mutex mutex_;  // guards the five below
  std::uint64_t made_ = 1;    // boards, one after the other
  std::unique_ptr<platform::BoardMapping> mapping_;
  std::unique_ptr<KeyDevice> keys_;        // null: the unit has only the panel's keys
  std::unique_ptr<BoardOutputs> outputs_;  // null: the unit has neither beeper nor backlight
  bool stopping_ = false;
  std::condition_variable wake_;
  std::thread thread_;
};

}  // namespace

std::unique_ptr<Service> MakeBoardService(const options_t& options) {
  return std::make_unique<BoardService>(options);
}

}  // namespace unit
