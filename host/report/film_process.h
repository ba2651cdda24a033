// The program film as a child: it computes what the display showed for the lines that it gets.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include "base/children/child_process.h"
#include "base/descriptor.h"

namespace host::report {

struct film_plan_t {
  std::string config;  // the configuration's folder; empty: film finds it
  std::string page;    // the page that the film begins on; empty: the display is switched on
};

class FilmProcess {
 public:
  // film runs some 700 times as fast as the log was recorded. One that takes no line for this time, and a
  // hundredth of what lies between the times of its lines, is hung.
  static constexpr std::chrono::seconds PATIENCE{60};
  static constexpr int GAP_SHARE = 100;

  // Starts film, which stands beside this program. `onRecord` gets each record, on a thread of this object.
  // Throws Failure.
  FilmProcess(const film_plan_t& plan, std::function<void(std::string_view record)> onRecord);
  // Ends film if it still runs: by the end of its input, and after five seconds by force.
  ~FilmProcess();
  FilmProcess(const FilmProcess&) = delete;
  FilmProcess& operator=(const FilmProcess&) = delete;

  // Gives film a line of a log or of a key log. Does nothing after film has ended. `time_ms` is the line's
  // time.
  void Write(std::string_view line, std::int64_t time_ms);
  // Tells film that the log has ended, and waits for its last records. Returns how it failed, in words; empty:
  // it did not.
  std::string Finish();

 private:
  void Flush();
  bool WaitToWrite();
  void ReadRecords(const std::function<void(std::string_view)>& onRecord);
  void CloseInput();
  std::string DescribeEnd(const base::ending_t& ending) const;

  base::Descriptor input_;   // film's standard input; empty: closed
  base::Descriptor output_;  // film's standard output
  base::Descriptor errors_;  // a file in memory with its standard error
  std::optional<base::ChildProcess> process_;
  std::string lines_;
  std::int64_t linesTime_ms_ = 0;    // of the newest line
  std::int64_t writtenTime_ms_ = 0;  // of the newest that film has
  bool isHung_ = false;
  std::thread reader_;
};

}  // namespace host::report
