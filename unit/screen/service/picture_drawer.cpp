#include "unit/screen/service/picture_drawer.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>

#include "platform/console_writer.h"

#include "base/line_limiter.h"
#include "unit/screen/design/design.h"
#include "unit/screen/render/retained_picture.h"

namespace unit {

using std::chrono::steady_clock;

namespace {

constexpr int WIDTH = static_cast<int>(SCREEN_WIDTH);
constexpr int HEIGHT = static_cast<int>(SCREEN_HEIGHT);

}  // namespace

class PictureDrawer::Queue {
 public:
  bool Add(std::string svg, const answer_t& answer);
  void Run();
  void Stop();

 private:
  struct wanted_t {
    std::string svg;
    answer_t answer;
  };

  void UpdatePicture(std::string svg);
  void Report(const std::string& what);

  std::mutex mutex_;  // guards the four below
  std::condition_variable changed_;
  std::deque<wanted_t> wanted_;
  bool stopping_ = false;
  bool ended_ = false;

  // The thread's: the last picture and what it was drawn from.
  RetainedPicture picture_;
  std::string drawnSvg_, drawnPng_;
  base::LineLimiter lines_;
};

bool PictureDrawer::Queue::Add(std::string svg, const answer_t& answer) {
  const std::lock_guard lock(mutex_);
  if (wanted_.size() >= MOST_WAITING) return false;
  wanted_.push_back({std::move(svg), answer});
  changed_.notify_all();
  return true;
}

void PictureDrawer::Queue::Run() {
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return stopping_ || !wanted_.empty(); });
    if (stopping_) break;
    wanted_t wanted = std::move(wanted_.front());
    wanted_.pop_front();
    lock.unlock();
    if (wanted.svg != drawnSvg_ || drawnPng_.empty()) UpdatePicture(std::move(wanted.svg));
    wanted.answer(drawnPng_);
    lock.lock();
  }
  ended_ = true;
  changed_.notify_all();
}

void PictureDrawer::Queue::UpdatePicture(std::string svg) {
  const auto begin = steady_clock::now();
  try {
    if (picture_.Update(svg, WIDTH, HEIGHT) || drawnPng_.empty()) drawnPng_ = WritePng(picture_.Pixels());
  } catch (const std::runtime_error& error) {
    drawnPng_.clear();
    Report(error.what());
  }
  drawnSvg_ = std::move(svg);
  const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(steady_clock::now() - begin);
  if (took > SLOW) {
    Report("the page took " + std::to_string(took.count()) + " ms to be drawn; leave out what costs most");
  }
}

void PictureDrawer::Queue::Report(const std::string& what) {
  if (const auto line = lines_.Note(what, steady_clock::now())) platform::PrintLine(stderr, "screen: " + *line);
}

void PictureDrawer::Queue::Stop() {
  std::unique_lock lock(mutex_);
  stopping_ = true;
  changed_.notify_all();
  changed_.wait_for(lock, STOP_WAIT, [this] { return ended_; });
}

PictureDrawer::PictureDrawer() : queue_(std::make_shared<Queue>()) {
  std::thread([queue = queue_] { queue->Run(); }).detach();
}

PictureDrawer::~PictureDrawer() {
  queue_->Stop();
}

void PictureDrawer::Draw(std::string svg, const answer_t& answer) {
  if (!queue_->Add(std::move(svg), answer)) answer({});
}

}  // namespace unit
