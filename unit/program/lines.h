// Prints the lines of the child programs with the program's name in front.
#pragma once

#include <array>
#include <atomic>
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

// Remembers whether a program has printed a certain line. Any thread.
class LineWatch {
 public:
  // Looks for lines that contain `text`; an empty text is never found.
  explicit LineWatch(std::string text) : text_(std::move(text)) {}
  void Note(const std::string& line) {
    if (!text_.empty() && line.find(text_) != std::string::npos) seen_ = true;
  }
  bool WasSeen() const { return seen_; }
  void Forget() { seen_ = false; }

 private:
  const std::string text_;
  std::atomic<bool> seen_{false};
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

  // Takes over the reading end of a pipe. Passes each line to `watch` too, which may be null. Any thread.
  void Add(base::Descriptor pipe, const std::string& name, std::FILE* to,
           std::shared_ptr<LineWatch> watch = {});

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
