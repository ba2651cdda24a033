// Writes lines to a file on a thread of its own, so that no caller waits for a disk or for the reader of a
// FIFO.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace unit {

// Where the lines go. The writer's thread makes all calls; they may block.
class LineTarget {
 public:
  LineTarget() = default;
  virtual ~LineTarget() = default;
  LineTarget(const LineTarget&) = delete;
  LineTarget& operator=(const LineTarget&) = delete;
  // Writes `text`, one or more lines with their ends, whole or not at all. Returns why it could not, else an
  // empty text. The writer offers the same lines again later.
  virtual std::string Write(const std::string& text) = 0;
};

// Adds `text` to a file by one call, so that it is in the file even when this process is killed next. Takes
// back a part that found room in a regular file. Returns 0 or an error number.
int AppendText(int descriptor, const std::string& text);

// At MOST_BYTES the oldest lines are dropped and counted: those before a fault matter least when the file can
// be written again. Any thread.
class LineWriter {
 public:
  static constexpr std::size_t MOST_BYTES = 4U << 20U;    // more than half a minute of a busy bus
  static constexpr std::chrono::milliseconds RETRY{500};  // after a line that could not be written
  static constexpr std::chrono::seconds STALLED{1};       // a write that takes longer is a problem
  static constexpr std::chrono::milliseconds STOP_WAIT{500};

  // In lines and problems the file is called `what` ("the record a.log"); lines begin with `owner`. One line on
  // standard error, at most one a second, says that the target fails, another one that it is written again.
  LineWriter(std::string owner, std::string what, std::unique_ptr<LineTarget> target);
  // Waits STOP_WAIT at most until all lines are written. A thread that is stuck in a write is left behind.
  ~LineWriter();
  LineWriter(const LineWriter&) = delete;
  LineWriter& operator=(const LineWriter&) = delete;

  // Adds a line, without its end. Does not block.
  void Write(std::string_view line);
  // One line for the user; empty while lines are written.
  std::string Problem() const;
  // How many lines were dropped.
  std::uint64_t Lost() const;

 private:
  class Queue;
  const std::shared_ptr<Queue> queue_;  // the thread has it too
};

}  // namespace unit
