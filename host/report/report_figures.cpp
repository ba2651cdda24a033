#include "host/report/report_figures.h"

#include <algorithm>
#include <cmath>

#include <nlohmann/json.hpp>

namespace host::report {
namespace {

using nlohmann::json;

constexpr std::size_t MOST_TIMES = 1'000;
constexpr double TENTHS = 10;

json PercentJson(double percent) {
  return std::isfinite(percent) ? json(std::round(percent * TENTHS) / TENTHS) : json(nullptr);
}

}  // namespace

void OverloadFigures::NoteValues(std::int64_t time_ms, bool isOverloaded, double percent) {
  if (isOverloaded && !isOverloaded_) overloads_.push_back({time_ms, std::nan("")});
  isOverloaded_ = isOverloaded;
  if (isOverloaded && std::isfinite(percent)) {
    overloads_.back().percent = std::fmax(overloads_.back().percent, percent);
  }
}

json OverloadFigures::ToJson() const {
  json times = json::array();
  json percents = json::array();
  double most = std::nan("");
  for (const overload_t& overload : overloads_) {
    most = std::fmax(most, overload.percent);
    if (times.size() == MOST_TIMES) continue;
    times.push_back(overload.begin_ms);
    percents.push_back(PercentJson(overload.percent));
  }
  return {{"count", overloads_.size()}, {"times", times}, {"percents", percents}, {"most", PercentJson(most)}};
}

void EventCount::Note(std::int64_t time_ms, std::uint64_t count) {
  if (count > count_ && times_.size() < MOST_TIMES) times_.push_back(time_ms);
  count_ = count;
}

json EventCount::ToJson() const {
  return {{"count", count_}, {"times", times_}};
}

json SpanFigures(const std::vector<band_span_t>& spans) {
  json times = json::array();
  std::int64_t total_ms = 0;
  for (const band_span_t& span : spans) {
    total_ms += span.end_ms - span.begin_ms;
    if (times.size() < MOST_TIMES) times.push_back(span.begin_ms);
  }
  return {{"count", spans.size()}, {"times", times}, {"total", total_ms}};
}

}  // namespace host::report
