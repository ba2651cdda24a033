// The bounded queue of lines between the threads that print and the thread that writes to the console.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>

namespace platform {

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
