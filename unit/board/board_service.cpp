#include "board/board_service.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "platform/board_state.h"

#include "board/board_view.h"
#include "health/notify_link.h"

namespace unit {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr auto PACE = 10ms;
// Once a second too, for those that subscribed since the last change.
constexpr auto REPEAT = 1s;

// The application writes its outputs a hundred times a second, changed or not: the count of that is no change.
bool ShowsChange(const board_view_t& view, board_view_t published) {
  published.outputWrites = view.outputWrites;
  return view != published;
}

// Owns the board's shared object; one thread looks at it and publishes what changed.
class BoardService : public Service {
 public:
  BoardService() = default;
  ~BoardService() override { BoardService::Stop(); }

  void Start() override {
    const std::lock_guard lock(mutex_);
    mapping_ = std::make_unique<platform::BoardMapping>(platform::BoardMapping::Role::kOwner);
    if (mapping_->Get() == nullptr) {
      mapping_.reset();
      throw std::runtime_error(
          "the board's shared memory cannot be made. Another unit runs in this runtime directory; stop it, or "
          "set "
          "ORVIK_RUNTIME_DIR to another one.");
    }
    stopping_ = false;
    thread_ = std::thread([this, board = mapping_->Get()] { Watch(*board); });
  }

  void Stop() override {
    {
      const std::lock_guard lock(mutex_);
      stopping_ = true;
    }
    wake_.notify_all();
    if (thread_.joinable()) thread_.join();
    const std::lock_guard lock(mutex_);
    mapping_.reset();
  }

  Status_t GetStatus() const override {
    const std::lock_guard lock(mutex_);
    if (!mapping_) return {"board", false, "stopped", {}};
    const board_view_t view = ViewBoard(*mapping_->Get());
    Status_t status{"board", true, {}, {}};
    status.counters = {{"outputWrites", view.outputWrites},
                       {"outputRefused", view.outputRefused},
                       {"pwmChanges", view.backlightChanges},
                       {"pwmRefused", view.pwmRefused},
                       {"beeperPulses", view.pulses}};
    return status;
  }

 private:
  void Watch(const platform::board_state_t& board) {
    board_view_t published;
    steady_clock::time_point repeatAt{};
    std::unique_lock lock(mutex_);
    while (!stopping_) {
      lock.unlock();
      const board_view_t view = ViewBoard(board);
      const auto now = steady_clock::now();
      // What could not be published is tried again at the next look.
      if ((ShowsChange(view, published) || now >= repeatAt) &&
          link_.Publish(BOARD_CHANNEL_NAME, FormatBoard(view))) {
        published = view;
        repeatAt = now + REPEAT;
      }
      lock.lock();
      wake_.wait_for(lock, PACE, [this] { return stopping_; });
    }
  }

  NotifyLink link_;
  mutable std::mutex mutex_;  // guards the two below
  std::unique_ptr<platform::BoardMapping> mapping_;
  bool stopping_ = false;
  std::condition_variable wake_;
  std::thread thread_;
};

}  // namespace

std::unique_ptr<Service> MakeBoardService(const Options_t&) {
  return std::make_unique<BoardService>();
}

}  // namespace unit
