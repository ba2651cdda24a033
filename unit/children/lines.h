// Prints the lines of the child programs with the program's name in front.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdio>
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
enum told_t { REFUSES_TO_STOP, IS_CUT_OFF, TOLD_COUNT };

// Remembers which of these a program has told. Any thread.
class LineWatch {
 public:
  // A part of the line that tells each; an empty text is never found.
  using texts_t = std::array<std::string, TOLD_COUNT>;

  explicit LineWatch(texts_t texts) : texts_(std::move(texts)) {}
  void Note(const std::string& line) {
    for (std::size_t i = 0; i < TOLD_COUNT; ++i)
      if (!texts_[i].empty() && line.find(texts_[i]) != std::string::npos) seen_[i] = true;
  }
  bool HasTold(told_t what) const { return seen_[what]; }
  void Forget(told_t what) { seen_[what] = false; }

 private:
  const texts_t texts_;
  std::array<std::atomic<bool>, TOLD_COUNT> seen_{};
};

// Reads the pipes of all children and writes their lines ("orvik | Orvik: System Up") to standard output or
// standard error, and to the black box. Has one thread, which ends with the object.
class LinePump {
 public:
  // `log` must outlive this.
  explicit LinePump(RollingLog& log);
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
  std::array<int, 2> wake_{-1, -1};
  std::mutex mutex_;  // guards the two below
  std::list<line_source_t> sources_;
  bool stopping_ = false;
  std::thread thread_;
};

}  // namespace unit
