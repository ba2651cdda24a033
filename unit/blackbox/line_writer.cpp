#include "unit/blackbox/line_writer.h"

#include <cerrno>
#include <climits>
#include <condition_variable>
#include <deque>
#include <iterator>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

#include "platform/console_writer.h"
#include "platform/threads.h"

#include "base/line_limiter.h"

namespace unit {

using std::chrono::steady_clock;

namespace {

constexpr std::size_t MOST_IN_WRITE = PIPE_BUF;  // a FIFO takes so much whole or not at all

}  // namespace

int AppendText(int descriptor, const std::string& text) {
  const ssize_t written = ::write(descriptor, text.data(), text.size());
  if (written == static_cast<ssize_t>(text.size())) return 0;
  const int error = written < 0 ? errno : ENOSPC;
  struct stat file {};
  if (written > 0 && ::fstat(descriptor, &file) == 0 && S_ISREG(file.st_mode)) {
    [[maybe_unused]] const int cut = ::ftruncate(descriptor, file.st_size - written);
  }
  return error;
}

class LineWriter::Queue {
 public:
  Queue(std::string owner, std::string what, std::unique_ptr<LineTarget> target)
      : owner_(std::move(owner)), what_(std::move(what)), target_(std::move(target)) {}

  void Add(std::string text);
  void Run();
  void Stop();
  std::string Problem() const;
  std::uint64_t Lost() const;

 private:
  static std::size_t SizeOf(const std::string& text) { return text.size() + sizeof(std::string); }
  void WriteOldest(std::unique_lock<std::mutex>& lock);
  void DropOldest();
  void AcceptResult(std::string problem);
  void Report(const std::string& what) const { platform::PrintLine(stderr, owner_ + ": " + what_ + what); }

  const std::string owner_;
  const std::string what_;
  const std::unique_ptr<LineTarget> target_;  // the thread's
  mutable std::mutex mutex_;                  // guards all below
  std::condition_variable changed_;
  std::deque<std::string> texts_;
  std::size_t bytes_ = 0;
  std::uint64_t lost_ = 0;
  std::uint64_t lostBefore_ = 0;  // when the target began to fail
  std::string problem_;
  bool told_ = false;               // a line has told of the problem
  std::size_t writing_ = 0;         // lines of the present write
  steady_clock::time_point since_;  // of the present write
  base::LineLimiter failures_;
  bool stopping_ = false;
  bool ended_ = false;
};

void LineWriter::Queue::Add(std::string text) {
  const std::lock_guard lock(mutex_);
  bytes_ += SizeOf(text);
  texts_.push_back(std::move(text));
  DropOldest();
  changed_.notify_all();
}

void LineWriter::Queue::DropOldest() {
  for (; bytes_ > MOST_BYTES; texts_.pop_front(), ++lost_) bytes_ -= SizeOf(texts_.front());
}

void LineWriter::Queue::Run() {
  platform::NameThread("line writer");
  std::unique_lock lock(mutex_);
  for (bool last = false; !last;) {
    changed_.wait(lock, [this] { return stopping_ || !texts_.empty(); });
    last = stopping_ && (texts_.empty() || !problem_.empty());  // a target that fails is tried once more
    if (!texts_.empty()) WriteOldest(lock);
    if (!problem_.empty()) changed_.wait_for(lock, RETRY, [this] { return stopping_; });
  }
  ended_ = true;
  changed_.notify_all();
}

// The oldest lines, as many as one write takes. Those that could not be written are the oldest ones again.
void LineWriter::Queue::WriteOldest(std::unique_lock<std::mutex>& lock) {
  std::vector<std::string> lines;
  std::string text;
  do {
    text += texts_.front();
    bytes_ -= SizeOf(texts_.front());
    lines.push_back(std::move(texts_.front()));
    texts_.pop_front();
  } while (!texts_.empty() && text.size() + texts_.front().size() <= MOST_IN_WRITE);
  writing_ = lines.size();
  since_ = steady_clock::now();
  lock.unlock();
  std::string problem = target_->Write(text);
  lock.lock();
  writing_ = 0;
  if (!problem.empty()) {
    for (const std::string& line : lines) bytes_ += SizeOf(line);
    texts_.insert(texts_.begin(), std::move_iterator(lines.begin()), std::move_iterator(lines.end()));
    DropOldest();
  }
  AcceptResult(std::move(problem));
}

void LineWriter::Queue::AcceptResult(std::string problem) {
  if (problem_.empty() && !problem.empty()) {
    lostBefore_ = lost_;
    const auto line = failures_.Note(" is not written: " + problem, steady_clock::now());
    told_ = line.has_value();
    if (line) Report(*line);
  } else if (!problem_.empty() && problem.empty() && told_) {
    Report(" is written again; " + std::to_string(lost_ - lostBefore_) + " lines are lost");
  }
  problem_ = std::move(problem);
}

void LineWriter::Queue::Stop() {
  std::unique_lock lock(mutex_);
  stopping_ = true;
  changed_.notify_all();
  changed_.wait_for(lock, STOP_WAIT, [this] { return ended_; });
  const std::size_t left = texts_.size() + writing_;
  if (left > 0) Report(" lacks its last " + std::to_string(left) + " lines");
}

std::string LineWriter::Queue::Problem() const {
  const std::lock_guard lock(mutex_);
  if (!problem_.empty()) return what_ + " is not written: " + problem_;
  const auto stalled = writing_ > 0 ? steady_clock::now() - since_ : steady_clock::duration{};
  if (stalled < STALLED) return {};
  return what_ + " is not written: its disk has not answered for " +
         std::to_string(std::chrono::duration_cast<std::chrono::seconds>(stalled).count()) + " s";
}

std::uint64_t LineWriter::Queue::Lost() const {
  const std::lock_guard lock(mutex_);
  return lost_;
}

LineWriter::LineWriter(std::string owner, std::string what, std::unique_ptr<LineTarget> target)
    : queue_(std::make_shared<Queue>(std::move(owner), std::move(what), std::move(target))) {
  std::thread([queue = queue_] { queue->Run(); }).detach();
}

LineWriter::~LineWriter() {
  queue_->Stop();
}

void LineWriter::Write(std::string_view line) {
  std::string text;
  text.reserve(line.size() + 1);
  text.append(line).push_back('\n');
  queue_->Add(std::move(text));
}

std::string LineWriter::Problem() const {
  return queue_->Problem();
}

std::uint64_t LineWriter::Lost() const {
  return queue_->Lost();
}

}  // namespace unit
