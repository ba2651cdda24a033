#include "unit/history/span_ring.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "unit/history/screen_ring.h"

namespace unit {

using nlohmann::json;

void SpanRing::Set(const std::string& row, std::int64_t now_ms, std::string_view label) {
  const auto holding = holding_.find(row);
  if (holding == holding_.end() ? label.empty() : holding->second.label == label) return;
  if (holding != holding_.end()) {
    holding->second.end_ms = std::max(now_ms, holding->second.begin_ms);
    ended_.push_back(std::move(holding->second));
    holding_.erase(holding);
  }
  if (!label.empty()) holding_[row] = {row, now_ms, now_ms, std::string(label)};
  while (!ended_.empty() && (ended_.size() > MOST_SPANS || ended_.front().end_ms < now_ms - HISTORY_MS)) {
    ended_.pop_front();
  }
}

json SpanRing::MakeRows(std::int64_t after_ms, std::int64_t now_ms) const {
  json rows = json::object();
  for (const history_span_t& span : ended_) {
    if (span.end_ms >= after_ms) rows[span.row].push_back({span.begin_ms, span.end_ms, span.label});
  }
  for (const auto& [row, span] : holding_) {
    rows[row].push_back({span.begin_ms, std::max(now_ms, span.begin_ms), span.label});
  }
  return rows;
}

}  // namespace unit
