#include "unit/children/lines.h"

#include <cerrno>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include "platform/console_writer.h"
#include "platform/threads.h"

namespace unit {
namespace {

// Of one pipe in a turn: more than it holds, so that a child that prints without end does not keep the others'
// lines.
constexpr int MOST_PIECES = 32;

// Of each program, for the reasons at the end of a run.
constexpr std::size_t LAST_LINES = 3;
constexpr std::size_t MOST_LETTERS = 200;

}  // namespace

void LineWatch::Note(const std::string& line) {
  for (std::size_t i = 0; i < TOLD_COUNT; ++i)
    if (!texts_[i].empty() && line.find(texts_[i]) != std::string::npos) seen_[i] = true;
  const std::lock_guard lock(mutex_);
  lines_.push_back(line.substr(0, MOST_LETTERS));
  if (lines_.size() > LAST_LINES) lines_.pop_front();
}

std::string LineWatch::LastLines() const {
  const std::lock_guard lock(mutex_);
  std::string text;
  for (const std::string& line : lines_) text += (text.empty() ? "\"" : ", \"") + line + "\"";
  return text;
}

LinePump::LinePump(RollingLog& log, bool quiet) : log_(log), quiet_(quiet) {
  if (pipe2(wake_.data(), O_CLOEXEC | O_NONBLOCK) != 0) wake_ = {-1, -1};
  thread_ = std::thread([this] { Run(); });
}

// Prints what the children have written so far before the thread ends.
LinePump::~LinePump() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  close(wake_[1]);  // makes the other end readable
  thread_.join();
  close(wake_[0]);
}

void LinePump::Add(base::Descriptor pipe, const std::string& name, std::FILE* to,
                   std::shared_ptr<LineWatch> watch) {
  fcntl(pipe.Get(), F_SETFL, fcntl(pipe.Get(), F_GETFL) | O_NONBLOCK);
  {
    const std::lock_guard lock(mutex_);
    sources_.push_back({std::move(pipe), name, to, std::move(watch), {}});
  }
  [[maybe_unused]] const ssize_t written = write(wake_[1], "+", 1);
}

// Waits until a child has written, a child was added, or the end was requested.
void LinePump::Wait() {
  std::vector<pollfd> polled = {{wake_[0], POLLIN, 0}};
  {
    const std::lock_guard lock(mutex_);
    for (const line_source_t& source : sources_) polled.push_back({source.pipe.Get(), POLLIN, 0});
  }
  poll(polled.data(), polled.size(), -1);
  std::array<char, 64> wakes{};
  while (read(wake_[0], wakes.data(), wakes.size()) > 0) {
  }
}

void LinePump::Run() {
  platform::NameThread("child lines");
  for (bool last = false; !last;) {
    Wait();
    const std::lock_guard lock(mutex_);
    last = stopping_;
    for (line_source_t& source : sources_) Read(source);
    sources_.remove_if([](const line_source_t& source) { return source.ended; });
  }
}

void LinePump::Read(line_source_t& source) {
  std::array<char, 4096> bytes;
  ssize_t got = 0;
  for (int piece = 0; piece < MOST_PIECES; ++piece) {
    if ((got = read(source.pipe.Get(), bytes.data(), bytes.size())) <= 0) break;
    source.lines.Feed({bytes.data(), static_cast<std::size_t>(got)});
    for (std::string line; source.lines.Next(line);) Show(source, line);
  }
  if (got > 0) return;
  if (got < 0 && (errno == EAGAIN || errno == EINTR)) return;
  if (const std::string rest = source.lines.Rest(); !rest.empty()) Show(source, rest);
  source.ended = true;
}

void LinePump::Show(const line_source_t& source, const std::string& line) {
  log_.WriteStamped(source.name, line);
  if (source.watch) source.watch->Note(line);
  if (quiet_ && source.to == stdout) return;
  platform::PrintLine(source.to, source.name + " | " + line);
}

}  // namespace unit
