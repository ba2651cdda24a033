#include "platform/console_writer.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <iostream>
#include <memory>
#include <mutex>
#include <streambuf>
#include <thread>
#include <utility>

#include <poll.h>
#include <unistd.h>

#include "platform/threads.h"

namespace platform {
namespace {

constexpr std::chrono::milliseconds RETRY{10};
constexpr std::size_t LONGEST_PIECE = 4096;  // of a text without a line's end

// Polls first: a pipe that is ready takes a piece of this size whole. The descriptor stays blocking, because
// other processes may share the terminal.
ssize_t WritePiece(int descriptor, std::string_view bytes) {
  pollfd ready{descriptor, POLLOUT, 0};
  poll(&ready, 1, -1);
  const ssize_t written = write(descriptor, bytes.data(), std::min<std::size_t>(bytes.size(), PIPE_BUF));
  if (written >= 0 || (errno != EINTR && errno != EAGAIN)) return written;
  if (errno == EAGAIN) std::this_thread::sleep_for(RETRY);  // another process has made it non-blocking
  return 0;
}

void WriteWhole(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = WritePiece(descriptor, bytes);
    if (written < 0) return;
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
}

// Passes what a C++ stream is given to the console, line by line. Has no put area, so that every write of every
// thread goes through xsputn or overflow.
class LineBuffer : public std::streambuf {
 public:
  LineBuffer(std::ostream& stream, int descriptor) : stream_(stream), descriptor_(descriptor) {}
  void Install() { original_ = stream_.rdbuf(this); }
  void Remove() {
    stream_.rdbuf(original_);
    PassOn(std::exchange(text_, {}));
  }

 protected:
  std::streamsize xsputn(const char* text, std::streamsize count) override;
  int_type overflow(int_type character) override {
    if (traits_type::eq_int_type(character, traits_type::eof())) return traits_type::not_eof(character);
    const char c = traits_type::to_char_type(character);
    return xsputn(&c, 1) == 1 ? character : traits_type::eof();
  }

 private:
  void PassOn(std::string_view bytes) const;

  std::ostream& stream_;
  const int descriptor_;
  std::streambuf* original_ = nullptr;
  std::mutex mutex_;  // guards text_, and keeps the bytes of one write together
  std::string text_;  // after the last line's end
};

// The process's one console.
class Console {
 public:
  void Start(std::string program);
  void Stop();
  // False without a writer; the caller then writes the text itself.
  bool Add(int descriptor, std::string_view text, std::string_view end = {});
  void AddFromHandler(const char* line);
  bool Drain(std::chrono::milliseconds limit);

 private:
  static void* RunWriter(void* console);
  void Run();
  void TakeFromHandler();
  bool IsDrained() const { return !writing_ && (!queue_ || queue_->IsEmpty()); }

  std::mutex mutex_;  // guards the five below
  std::unique_ptr<LineQueue> queue_;
  bool running_ = false;
  bool stopping_ = false;
  bool writing_ = false;  // the writer has taken a line and not written it yet
  std::condition_variable changed_;
  // A handler may not lock: it leaves its line here, and the next thread that prints takes it.
  std::atomic<const char*> fromHandler_{nullptr};
  std::atomic<bool> handlersQueue_{false};
  std::array<LineBuffer, 3> streams_{
      {{std::cout, STDOUT_FILENO}, {std::cerr, STDERR_FILENO}, {std::clog, STDERR_FILENO}}};
};

// Never destroyed: a thread may print, and the writer may be stuck in a write, until the process is gone.
Console& TheConsole() {
  static Console* const CONSOLE = std::make_unique<Console>().release();
  return *CONSOLE;
}

std::streamsize LineBuffer::xsputn(const char* text, std::streamsize count) {
  const std::lock_guard lock(mutex_);
  text_.append(text, static_cast<std::size_t>(count));
  for (std::size_t end = 0; (end = text_.find('\n')) != std::string::npos; text_.erase(0, end + 1)) {
    PassOn(text_.substr(0, end + 1));
  }
  if (text_.size() > LONGEST_PIECE) PassOn(std::exchange(text_, {}));
  return count;
}

void LineBuffer::PassOn(std::string_view bytes) const {
  if (!bytes.empty()) TheConsole().Add(descriptor_, bytes);
}

bool Console::Add(int descriptor, std::string_view text, std::string_view end) {
  std::string bytes;
  bytes.reserve(text.size() + end.size());
  bytes.append(text).append(end);
  const std::lock_guard lock(mutex_);
  if (!running_) return false;
  TakeFromHandler();
  queue_->Add({descriptor, std::move(bytes)});
  changed_.notify_all();
  return true;
}

void Console::AddFromHandler(const char* line) {
  if (!handlersQueue_) {
    [[maybe_unused]] const ssize_t written = write(STDOUT_FILENO, line, std::strlen(line));
    return;
  }
  const char* none = nullptr;
  fromHandler_.compare_exchange_strong(none, line);
}

void Console::TakeFromHandler() {
  if (const char* line = fromHandler_.exchange(nullptr)) queue_->Add({STDOUT_FILENO, line});
}

bool Console::Drain(std::chrono::milliseconds limit) {
  std::unique_lock lock(mutex_);
  if (!running_) return true;
  TakeFromHandler();
  changed_.notify_all();
  return changed_.wait_for(lock, limit, [this] { return IsDrained(); });
}

std::terminate_handler endBefore = nullptr;

// The usual end prints a line of its own, which would wait for a console that nobody reads.
[[noreturn]] void EndWithWrittenLines() {
  if (TheConsole().Drain(CONSOLE_DRAIN) && endBefore != nullptr) endBefore();
  std::abort();
}

void Console::Start(std::string program) {
  static_cast<void>(std::fflush(stdout));
  const std::lock_guard lock(mutex_);
  if (running_) return;
  queue_ = std::make_unique<LineQueue>(std::move(program), STDERR_FILENO);
  stopping_ = false;
  running_ = StartDetachedThread({"Console"}, RunWriter, this) == 0;
  if (!running_) return;
  handlersQueue_ = true;
  endBefore = std::set_terminate(EndWithWrittenLines);
  for (LineBuffer& stream : streams_) stream.Install();
}

void Console::Stop() {
  if (!Drain(CONSOLE_DRAIN)) return;
  for (LineBuffer& stream : streams_) stream.Remove();
  std::unique_lock lock(mutex_);
  if (!running_) return;
  std::set_terminate(endBefore);
  handlersQueue_ = false;
  stopping_ = true;
  changed_.notify_all();
  changed_.wait_for(lock, CONSOLE_DRAIN, [this] { return !running_; });
}

void* Console::RunWriter(void* console) {
  sigset_t all;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, nullptr);  // a reader that is gone is an error of the write, not a SIGPIPE
  static_cast<Console*>(console)->Run();
  return nullptr;
}

void Console::Run() {
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return stopping_ || !queue_->IsEmpty(); });
    const auto lines = queue_->Take(PIPE_BUF);
    if (!lines) break;
    writing_ = true;
    lock.unlock();
    WriteWhole(lines->descriptor, lines->bytes);
    lock.lock();
    writing_ = false;
    if (queue_->IsEmpty()) changed_.notify_all();
  }
  running_ = false;
  changed_.notify_all();
}

}  // namespace

ConsoleWriter::ConsoleWriter(std::string program) {
  TheConsole().Start(std::move(program));
}

ConsoleWriter::~ConsoleWriter() {
  TheConsole().Stop();
}

void PrintLine(std::FILE* stream, std::string_view line) {
  if (TheConsole().Add(stream == stderr ? STDERR_FILENO : STDOUT_FILENO, line, "\n")) return;
  std::string whole;
  whole.reserve(line.size() + 1);
  whole.append(line).push_back('\n');
  static_cast<void>(std::fwrite(whole.data(), 1, whole.size(), stream));
  static_cast<void>(std::fflush(stream));
}

void PrintFromHandler(const char* line) {
  TheConsole().AddFromHandler(line);
}

bool DrainConsole(std::chrono::milliseconds limit) {
  return TheConsole().Drain(limit);
}

// --- The queue

void LineQueue::Add(line_t line) {
  if (CountAsRepeated(line)) return;
  if (!HasRoom(line.bytes.size())) {
    ++lost_;
    return;
  }
  AppendLoss();
  Append(std::move(line));
}

// After a loss an equal line has others before it that are not in the queue.
bool LineQueue::CountAsRepeated(const line_t& line) {
  if (lost_ > 0 || entries_.size() < BEHIND) return false;
  entry_t& last = entries_.back();
  if (last.line.descriptor != line.descriptor || last.line.bytes != line.bytes) return false;
  ++last.more;
  return true;
}

// After a loss half of the bounds must be free: a reader that is a little too slow would otherwise get a line
// about the loss after each line.
bool LineQueue::HasRoom(std::size_t bytes) const {
  const std::size_t share = lost_ > 0 ? 2 : 1;
  return entries_.size() < MOST_LINES / share && bytes_ + bytes <= MOST_BYTES / share;
}

void LineQueue::Append(line_t line) {
  bytes_ += line.bytes.size();
  entries_.push_back({std::move(line)});
}

void LineQueue::AppendLoss() {
  const std::uint64_t lost = std::exchange(lost_, 0);
  if (lost == 0) return;
  Append({complaints_, program_ + ": " + std::to_string(lost) + (lost == 1 ? " line" : " lines") +
                           " lost: the console was not read\n"});
}

std::optional<LineQueue::line_t> LineQueue::Take(std::size_t most) {
  if (entries_.empty()) AppendLoss();
  if (entries_.empty()) return std::nullopt;
  line_t taken = TakeFirst();
  while (!entries_.empty()) {
    const line_t& next = entries_.front().line;
    if (next.descriptor != taken.descriptor || taken.bytes.size() + next.bytes.size() > most) break;
    taken.bytes += TakeFirst().bytes;
  }
  return taken;
}

// The count of a repeated line takes the line's place.
LineQueue::line_t LineQueue::TakeFirst() {
  entry_t& first = entries_.front();
  bytes_ -= first.line.bytes.size();
  line_t line = std::move(first.line);
  const std::uint64_t more = std::exchange(first.more, 0);
  if (more == 0) {
    entries_.pop_front();
    return line;
  }
  first.line = {line.descriptor, program_ + ": the line above came " + std::to_string(more) +
                                     (more == 1 ? " more time\n" : " more times\n")};
  bytes_ += first.line.bytes.size();
  return line;
}

}  // namespace platform
