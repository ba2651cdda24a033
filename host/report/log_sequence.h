// The frames of one or more logs as one.
#pragma once

#include <cstdint>
#include <deque>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "bus/can_frame.h"
#include "host/log/log_reader.h"

namespace host::report {

// What the host says in the first ten seconds.
struct log_beginning_t {
  bool asksForPage = false;       // as it does after it was switched on
  std::optional<unsigned> units;  // the first that it sets: 0 Imperial, 1 Metric
};

class LogSequence {
 public:
  // Opens all logs and puts them in the order of their first frames. Throws UsageError when one cannot be read
  // or has no frame.
  explicit LogSequence(const std::vector<std::string>& files);

  std::optional<bus::frame_t> Next();
  // Reads ahead. To be called before Next.
  log_beginning_t LookAhead();
  std::uint64_t Begin_us() const { return begin_us_; }
  std::uint64_t Skipped() const;  // lines without a frame so far
  // How much of the files has been read, 0 to 1.
  double Share() const;

 private:
  struct log_file_t {
    std::string name;
    std::unique_ptr<std::ifstream> in;
    std::unique_ptr<LogReader> reader;
    std::optional<bus::frame_t> first;
    double size = 0;
  };
  static log_file_t OpenLog(const std::string& name);
  std::optional<bus::frame_t> ReadNext();

  std::vector<log_file_t> logs_;
  std::size_t current_ = 0;
  std::deque<bus::frame_t> ahead_;  // frames that were looked at
  std::uint64_t begin_us_ = 0;
};

}  // namespace host::report
