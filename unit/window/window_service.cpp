#include "unit/window/window_service.h"

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <future>
#include <iostream>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <thread>
#include <utility>

#include "platform/board_state.h"
#include "platform/threads.h"

#include "unit/board/board_view.h"
#include "unit/board/sound_follower.h"
#include "unit/service/liveness.h"
#include "unit/service/worker_service.h"
#include "unit/window/screen_painter.h"
#include "unit/window/sdl_window.h"

namespace unit {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr auto PACE = 10ms;

// The board, mapped again once a second: a board service that was started again makes a new shared object.
class BoardLink {
 public:
  // Null while there is no board.
  platform::board_state_t* Get(steady_clock::time_point now) {
    if (now >= nextLook_) {
      nextLook_ = now + 1s;
      mapping_ = std::make_unique<platform::BoardMapping>(platform::BoardMapping::role_t::USER);
    }
    return mapping_->Get();
  }

 private:
  std::unique_ptr<platform::BoardMapping> mapping_;
  steady_clock::time_point nextLook_{};
};

// The screen service refuses to start with a catalogue that has mistakes; here they are no reason to stay dark.
word_catalogue_t ReadWindowWords(const options_t& options) {
  std::vector<std::string> problems;
  return ReadWords(std::filesystem::path(options.configDirectory) / "words", problems);
}

// One thread opens the window and serves it every 10 ms; the painter draws on another.
class WindowWorker {
 public:
  // Returns when the window is open; throws std::runtime_error with the problem and what to do about it.
  WindowWorker(const options_t& options, std::function<void()> end)
      : options_(options),
        end_(std::move(end)),
        painter_(ReadWindowWords(options)),
        thread_([this] { Run(); }) {
    try {
      opened_.get_future().get();
    } catch (...) {
      thread_.join();
      throw;
    }
  }
  ~WindowWorker() {
    {
      const std::lock_guard lock(mutex_);
      stopping_ = true;
    }
    wake_.notify_all();
    thread_.join();
  }
  WindowWorker(const WindowWorker&) = delete;
  WindowWorker& operator=(const WindowWorker&) = delete;

  status_t GetStatus() const {
    const std::string problem = painter_.Problem(steady_clock::now());
    const std::lock_guard lock(mutex_);
    status_t status{"window", problem.empty(), driver_, {{"pictures", painter_.Pictures()}}};
    if (!problem.empty()) status.detail += "; no picture: " + problem;
    if (!soundProblem_.empty()) status.detail += "; no sound: " + soundProblem_;
    return status;
  }

 private:
  void Run() {
    platform::NameThread("window");
    std::optional<SdlWindow> window;
    try {
      window.emplace(options_.fullscreen);
    } catch (...) {
      return opened_.set_exception(std::current_exception());
    }
    {
      const std::lock_guard lock(mutex_);
      driver_ = window->Driver();
    }
    opened_.set_value();
    Follow(*window);
  }

  void Follow(SdlWindow& window) {
    BoardLink link;
    std::optional<SdlSpeaker> speaker;
    if (options_.beeperDevice.empty()) speaker.emplace();
    SoundFollower beeper;
    Liveness liveness("window");
    std::unique_lock lock(mutex_);
    while (!stopping_) {
      liveness.Note();
      lock.unlock();
      Step(window, link, speaker, beeper);
      lock.lock();
      wake_.wait_for(lock, PACE, [this] { return stopping_; });
    }
    lock.unlock();
    Hold(link.Get(steady_clock::now()), 0);
  }

  void Step(SdlWindow& window, BoardLink& link, std::optional<SdlSpeaker>& speaker, SoundFollower& beeper) {
    const auto now = steady_clock::now();
    platform::board_state_t* board = link.Get(now);
    if (window.DrainEvents()) end_();
    Hold(board, window.KeysHeld());
    const board_view_t view = board != nullptr ? ViewBoard(*board) : board_view_t{};
    if (speaker) Sound(*speaker, beeper.Follow(view.sounding, view.pulses, now), now);
    const place_t place = window.PicturePlace();
    painter_.SetSize(place.width, place.height);
    window.Show(painter_.Latest(now), options_.backlightDirectory.empty() ? PictureBrightness(view) : 1);
  }

  static void Hold(platform::board_state_t* board, std::uint32_t keys) {
    if (board != nullptr) KeysHeldBy(*board, platform::key_source_t::WINDOW) = keys;
  }

  void Sound(SdlSpeaker& speaker, bool on, steady_clock::time_point now) {
    speaker.Sound(on, now);
    if (speaker.Problem() == soundProblem_) return;  // only this thread writes it
    if (!speaker.Problem().empty()) {
      std::cerr << "window: no sound: " + speaker.Problem() + "; the front panel shows the beeper\n"
                << std::flush;
    }
    const std::lock_guard lock(mutex_);
    soundProblem_ = speaker.Problem();
  }

  const options_t options_;
  const std::function<void()> end_;
  ScreenPainter painter_;
  std::promise<void> opened_;
  mutable std::mutex mutex_;  // guards the three below
  std::string driver_, soundProblem_;
  bool stopping_ = false;
  std::condition_variable wake_;
  std::thread thread_;
};

}  // namespace

std::unique_ptr<Service> MakeWindowService(const options_t& options, std::function<void()> end) {
  return std::make_unique<WorkerService<WindowWorker>>(
      "window", [options, end = std::move(end)] { return std::make_unique<WindowWorker>(options, end); });
}

}  // namespace unit
