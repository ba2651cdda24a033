// The lines of the child programs, shown with the program's name in front.
#pragma once

#include <array>
#include <cstdio>
#include <list>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

namespace unit {

// Cuts a stream of bytes into lines. A line of more than LONGEST bytes is cut, so that nothing grows without
// bound.
class LineCutter {
 public:
  static constexpr std::size_t LONGEST = 2000;
  void Feed(std::string_view bytes);
  // The next whole line, without its end; false when there is none yet.
  bool Next(std::string& line);
  // What stands without a line end at the end of the stream.
  std::string Rest();

 private:
  std::string buffer_;
};

// Reads the pipes of all children on one thread, which ends when the object does, and writes their lines
// ("orvik | Orvik: System Up") to standard output or standard error.
class LinePump {
 public:
  LinePump();
  ~LinePump();
  LinePump(const LinePump&) = delete;
  LinePump& operator=(const LinePump&) = delete;

  // Takes the reading end of a pipe over. Any thread.
  void Add(int descriptor, const std::string& name, std::FILE* to);

 private:
  struct Source_t {
    int descriptor;
    std::string prefix;
    std::FILE* to;
    LineCutter lines;
    bool ended = false;
  };

  void Run();
  void Read(Source_t& source);
  static void Show(const Source_t& source, const std::string& line);

  std::array<int, 2> wake_{-1, -1};
  std::mutex mutex_;  // guards the two below
  std::list<Source_t> sources_;
  bool stopping_ = false;
  std::thread thread_;
};

}  // namespace unit
