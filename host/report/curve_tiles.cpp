#include "host/report/curve_tiles.h"

#include <cmath>
#include <string>

#include <nlohmann/json.hpp>

namespace host::report {
namespace {

using nlohmann::json;

constexpr double MOST = 1e12;  // greater numbers are no values of a crane

bool IsKnown(double value) {
  return std::isfinite(value) && std::abs(value) < MOST;
}

// fmin and fmax pass over a value that is not a number.
void Widen(curve_values_t& lo, curve_values_t& hi, const curve_values_t& otherLo,
           const curve_values_t& otherHi) {
  for (std::size_t i = 0; i < CURVES.size(); ++i) {
    lo[i] = std::fmin(lo[i], otherLo[i]);
    hi[i] = std::fmax(hi[i], otherHi[i]);
  }
}

// Differences compress to a third of the numbers themselves.
class DifferenceList {
 public:
  void Add(std::int64_t value) {
    list_.push_back(value - last_);
    last_ = value;
  }
  void AddUnknown() { list_.push_back(nullptr); }
  json Take() { return std::move(list_); }

 private:
  json list_ = json::array();
  std::int64_t last_ = 0;
};

}  // namespace

void CurveTiles::Add(std::int64_t time_ms, const curve_values_t& values) {
  row_t row{time_ms, values, values};
  for (std::size_t i = 0; i < CURVES.size(); ++i) {
    if (!IsKnown(values[i])) row.lo[i] = row.hi[i] = std::nan("");
  }
  AddRow(0, row);
}

void CurveTiles::AddRow(std::size_t level, const row_t& row) {
  levels_[level].rows.push_back(row);
  if (levels_[level].rows.size() == ROWS) WriteChunk(level);
  if (level + 1 < levels_.size()) Merge(level + 1, row);
}

void CurveTiles::Merge(std::size_t level, const row_t& row) {
  std::vector<row_t>& interval = levels_[level].interval;
  const std::int64_t begin_ms = row.time_ms - row.time_ms % WIDTHS_MS[level];
  if (!interval.empty() && interval[0].time_ms != begin_ms) CloseInterval(level);
  if (interval.empty()) {
    interval.push_back({begin_ms, row.lo, row.hi});
  } else {
    Widen(interval[0].lo, interval[0].hi, row.lo, row.hi);
  }
}

void CurveTiles::CloseInterval(std::size_t level) {
  std::vector<row_t>& interval = levels_[level].interval;
  if (interval.empty()) return;
  const row_t row = interval[0];
  interval.clear();
  AddRow(level, row);
}

void CurveTiles::WriteChunk(std::size_t level) {
  level_t& own = levels_[level];
  if (own.rows.empty()) return;
  DifferenceList times;
  for (const row_t& row : own.rows) times.Add(row.time_ms);
  json chunk{{"t", times.Take()}};
  for (const auto& [name, side] : {std::pair("lo", &row_t::lo), std::pair("hi", &row_t::hi)}) {
    if (level == 0 && side == &row_t::hi) continue;
    json& lists = chunk[name] = json::array();
    for (std::size_t i = 0; i < CURVES.size(); ++i) {
      DifferenceList values;
      for (const row_t& row : own.rows) {
        const double value = (row.*side)[i];
        std::isnan(value) ? values.AddUnknown() : values.Add(std::llround(value * CURVES[i].scale));
      }
      lists.push_back(values.Take());
    }
  }
  sink_.AddChunk("c" + std::to_string(level) + "-" + std::to_string(own.chunkTimes.size()), chunk.dump());
  own.chunkTimes.push_back(own.rows.front().time_ms);
  own.rows.clear();
}

json CurveTiles::Finish() {
  json index = json::array();
  for (std::size_t level = 0; level < levels_.size(); ++level) {
    CloseInterval(level);
    WriteChunk(level);
    index.push_back({{"width", WIDTHS_MS[level]}, {"chunks", levels_[level].chunkTimes}});
  }
  return index;
}

}  // namespace host::report
