// The curves of a log at several scales, so that a page draws ten hours and ten seconds equally fast.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "host/report/report_file.h"

namespace host::report {

// A curve's name is that of the operating value. The values are stored as whole numbers of 1 / `scale`.
struct curve_kind_t {
  std::string_view name;
  double scale;
};
constexpr std::array<curve_kind_t, 7> CURVES = {{{"load", 1},
                                                 {"capacity", 1},
                                                 {"percent", 10},
                                                 {"radius", 10},
                                                 {"angle", 10},
                                                 {"extension", 10},
                                                 {"swing", 1}}};
using curve_values_t = std::array<double, CURVES.size()>;  // NaN: unknown

// Level 0 has every sample, each further level the least and the greatest value of intervals: 1 s, 4 s, 16 s,
// 64 s and 256 s. A level is cut into chunks of ROWS rows, "cLEVEL-NUMBER":
//
// | member | what it has                                                                     |
// |--------|---------------------------------------------------------------------------------|
// | t      | the time of the first row in milliseconds, then the differences                 |
// | lo, hi | a list for each curve: its first value, then the differences; null: unknown     |
//
// `hi` is missing where it is the same as `lo`. Times are those of the samples, or of the intervals'
// beginnings.
class CurveTiles {
 public:
  static constexpr std::size_t ROWS = 1024;
  static constexpr std::array<std::int64_t, 6> WIDTHS_MS = {0, 1'000, 4'000, 16'000, 64'000, 256'000};

  explicit CurveTiles(ChunkSink& sink) : sink_(sink) {}
  // In the order of time.
  void Add(std::int64_t time_ms, const curve_values_t& values);
  // Writes the last chunks and returns the index: of each level its width and the time of each chunk's first
  // row.
  nlohmann::json Finish();

 private:
  struct row_t {
    std::int64_t time_ms = 0;
    curve_values_t lo{};
    curve_values_t hi{};
  };
  struct level_t {
    std::vector<row_t> rows;               // of the chunk in progress
    std::vector<row_t> interval;           // the interval in progress; none or one
    std::vector<std::int64_t> chunkTimes;  // of the chunks that are written
  };

  void AddRow(std::size_t level, const row_t& row);
  void Merge(std::size_t level, const row_t& row);
  void CloseInterval(std::size_t level);
  void WriteChunk(std::size_t level);

  ChunkSink& sink_;
  std::array<level_t, WIDTHS_MS.size()> levels_;
};

}  // namespace host::report
