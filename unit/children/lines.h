// Prints the lines of the child programs with the program's name in front.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdio>
#include <deque>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

#include "base/descriptor.h"
#include "unit/blackbox/line_cutter.h"
#include "unit/blackbox/rolling_log.h"

namespace unit {

// What a program tells of itself in its lines.
enum told_t { REFUSES_TO_STOP, IS_CUT_OFF, HAS_COME_UP, TOLD_COUNT };

// Remembers which of these a program has told, and its last lines. Any thread.
class LineWatch {
 public:
  // A part of the line that tells each; an empty text is never found.
  using texts_t = std::array<std::string, TOLD_COUNT>;

  explicit LineWatch(texts_t texts) : texts_(std::move(texts)) {}
  void Note(const std::string& line);
  // The last lines, the oldest first: "\"a\", \"b\""; empty where the program has printed none.
  std::string LastLines() const;
  bool HasTold(told_t what) const { return seen_[what]; }
  void Forget(told_t what) { seen_[what] = false; }

 private:
  const texts_t texts_;
  std::array<std::atomic<bool>, TOLD_COUNT> seen_{};
  mutable std::mutex mutex_;  // guards the lines
  std::deque<std::string> lines_;
};

// Reads the pipes of all children and writes their lines ("orvik | Orvik: System Up") to standard output or
// standard error, and to the black box. Has one thread, which ends with the object.
class LinePump {
 public:
  // `log` must outlive this. With `quiet`, what the programs print to standard output goes to the log alone.
  LinePump(RollingLog& log, bool quiet);
  ~LinePump();
  LinePump(const LinePump&) = delete;
  LinePump& operator=(const LinePump&) = delete;

  // Takes over the reading end of a pipe. Passes each line to `watch` too. Any thread.
  void Add(base::Descriptor pipe, const std::string& name, std::FILE* to, std::shared_ptr<LineWatch> watch);

 private:
  struct line_source_t {
    base::Descriptor pipe;
    std::string name;
    std::FILE* to;
    std::shared_ptr<LineWatch> watch;
    LineCutter lines;
    bool ended = false;
  };

  void Run();
  void Wait();
  void Read(line_source_t& source);
  void Show(const line_source_t& source, const std::string& line);

  RollingLog& log_;
  const bool quiet_;
  std::array<int, 2> wake_{-1, -1};
  std::mutex mutex_;  // guards the two below
  std::list<line_source_t> sources_;
  bool stopping_ = false;
  std::thread thread_;
};

}  // namespace unit
