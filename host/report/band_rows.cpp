#include "host/report/band_rows.h"

#include <algorithm>

#include <nlohmann/json.hpp>

namespace host::report {
namespace {

using nlohmann::json;

json RowJson(const std::vector<band_span_t>& spans) {
  std::map<std::string, std::size_t> places;
  json labels = json::array();
  json flat = json::array();
  for (const band_span_t& span : spans) {
    const auto [place, isNew] = places.try_emplace(span.label, places.size());
    if (isNew) labels.push_back(span.label);
    for (const std::int64_t number : {span.begin_ms, span.end_ms - span.begin_ms}) flat.push_back(number);
    flat.push_back(place->second);
  }
  return {{"labels", std::move(labels)}, {"spans", std::move(flat)}};
}

}  // namespace

void BandRows::End(band_row_t& row, std::int64_t time_ms) {
  if (!row.open) return;
  row.open->end_ms = std::max(time_ms, row.open->begin_ms);
  if (row.spans.size() < MOST_SPANS) {
    row.spans.push_back(std::move(*row.open));
  } else {
    isFull_ = true;
  }
  row.open.reset();
}

void BandRows::Set(const std::string& row, std::int64_t time_ms, std::string_view label) {
  band_row_t& own = rows_[row];
  if (own.open ? own.open->label == label : label.empty()) return;
  End(own, time_ms);
  if (!label.empty()) own.open = band_span_t{time_ms, time_ms, std::string(label)};
}

void BandRows::EndAll(std::int64_t time_ms) {
  for (auto& [name, row] : rows_) End(row, time_ms);
}

const std::vector<band_span_t>& BandRows::Spans(const std::string& row) const {
  static const std::vector<band_span_t> NONE;
  const auto found = rows_.find(row);
  return found == rows_.end() ? NONE : found->second.spans;
}

json BandRows::Finish(std::int64_t time_ms) {
  EndAll(time_ms);
  json rows = json::object();
  for (const auto& [name, row] : rows_) rows[name] = RowJson(row.spans);
  return rows;
}

}  // namespace host::report
