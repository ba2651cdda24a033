// Printing without waiting for the console: a thread of its own writes the lines of this process.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace platform {

// How long the end of a process waits for a console that does not take its lines.
constexpr std::chrono::milliseconds CONSOLE_DRAIN{500};

// From construction on, the lines of PrintLine, and all that std::cout, std::cerr and std::clog are given, go
// through one LineQueue. A detached thread writes them in their order to the descriptors 1 and 2, so that a
// console that nobody reads (Ctrl-S, a full pipe) stops that thread and no other. A line that a stream refuses
// (closed, disk full, reader gone) is lost without a report.
//
// One object a process at a time, made by `main` before it starts other threads. The destructor waits
// CONSOLE_DRAIN at most. Where lines are left then, the process goes on with the queue, so that none of its
// last lines waits for the console either; else lines are written directly again.
//
// An uncaught exception ends the process as before, after its lines are written.
class ConsoleWriter {
 public:
  // The console's own lines begin with `program`.
  explicit ConsoleWriter(std::string program);
  ~ConsoleWriter();
  ConsoleWriter(const ConsoleWriter&) = delete;
  ConsoleWriter& operator=(const ConsoleWriter&) = delete;
};

// Prints a line to `stream`, stdout or stderr. Lines of several threads do not mix. With a ConsoleWriter it
// takes a short lock and does not block; without one it writes the line and its end in one call and flushes the
// stream. Any thread, but not from a signal handler.
void PrintLine(std::FILE* stream, std::string_view line);

// The same from a signal handler, to standard output: `line` is a text with its end that lasts as long as the
// process. It is written before the next line that a thread prints. Of several signals before that line, the
// first one's line is written and the others are dropped.
void PrintFromHandler(const char* line);

// Waits until all lines are written, or `limit` is over; then the result is false. For a process that ends with
// _exit or gives its console to a child.
bool DrainConsole(std::chrono::milliseconds limit = CONSOLE_DRAIN);

// The bounded queue of lines between the threads that print and the thread that writes to the console.
//
// Keeps the order of all lines, over both streams. Not for several threads at once.
//
// At a bound the new line is dropped and counted. Lines are taken again once half of both bounds is free; then
// a line of the queue's own says how many were lost. While BEHIND lines wait, a line that equals the last one
// is counted instead of kept; a line of the queue's own follows with the count.
class LineQueue {
 public:
  static constexpr std::size_t MOST_LINES = 1024;
  static constexpr std::size_t MOST_BYTES = 256U << 10U;
  static constexpr std::size_t BEHIND = 64;

  struct line_t {
    int descriptor = -1;
    std::string bytes;  // with the line's end
  };

  // The queue's own lines begin with `program` and go to the descriptor `complaints`.
  LineQueue(std::string program, int complaints) : program_(std::move(program)), complaints_(complaints) {}
  void Add(line_t line);
  // What to write next: as many lines of one stream as follow each other and have `most` bytes together, but at
  // least one. Empty when no line waits.
  std::optional<line_t> Take(std::size_t most);
  bool IsEmpty() const { return entries_.empty() && lost_ == 0; }

 private:
  struct entry_t {
    line_t line;
    std::uint64_t more = 0;  // how often the same line came again
  };

  bool CountAsRepeated(const line_t& line);
  bool HasRoom(std::size_t bytes) const;
  void Append(line_t line);
  void AppendLoss();
  line_t TakeFirst();

  const std::string program_;
  const int complaints_;
  std::deque<entry_t> entries_;
  std::size_t bytes_ = 0;
  std::uint64_t lost_ = 0;  // since the last line that told of it
};

}  // namespace platform
