// The lines of the child programs, shown with the program's name in front.
#pragma once

#include <array>
#include <cstdio>
#include <list>
#include <mutex>
#include <string>
#include <thread>

#include "blackbox/line_cutter.h"
#include "blackbox/rolling_log.h"

namespace unit {

// Reads the pipes of all children on one thread, which ends when the object does, and writes their lines
// ("orvik | Orvik: System Up") to standard output or standard error, and to the black box.
class LinePump {
 public:
  // `log` must outlive this.
  explicit LinePump(RollingLog& log);
  ~LinePump();
  LinePump(const LinePump&) = delete;
  LinePump& operator=(const LinePump&) = delete;

  // Takes the reading end of a pipe over. Any thread.
  void Add(int descriptor, const std::string& name, std::FILE* to);

 private:
  struct Source_t {
    int descriptor;
    std::string name;
    std::FILE* to;
    LineCutter lines;
    bool ended = false;
  };

  void Run();
  void Read(Source_t& source);
  void Show(const Source_t& source, const std::string& line);

  RollingLog& log_;
  std::array<int, 2> wake_{-1, -1};
  std::mutex mutex_;  // guards the two below
  std::list<Source_t> sources_;
  bool stopping_ = false;
  std::thread thread_;
};

}  // namespace unit
