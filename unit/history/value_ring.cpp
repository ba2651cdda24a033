#include "unit/history/value_ring.h"

#include <algorithm>
#include <cmath>
#include <string>

#include <nlohmann/json.hpp>

#include "unit/history/screen_ring.h"

namespace unit {
namespace {

using nlohmann::json;

constexpr double KILOGRAMS_PER_POUND = 0.45359237;
constexpr double METRES_PER_FOOT = 0.3048;
// Metric units per Imperial one, in the order of HISTORY_CURVES.
constexpr std::array<double, HISTORY_CURVES.size()> METRIC_FACTORS = {
    KILOGRAMS_PER_POUND, KILOGRAMS_PER_POUND, 1, METRES_PER_FOOT, 1, METRES_PER_FOOT};

json Rounded(double value, double step) {
  if (!std::isfinite(value)) return nullptr;
  const double steps = std::round(value / step);
  return step < 1 ? json(steps / (1 / step)) : json(static_cast<std::int64_t>(steps));
}

}  // namespace

// fmin and fmax pass over a value that is not a number.
void ValueRing::Add(std::int64_t now_ms, const history_values_t& values, bool isMetric) {
  const std::int64_t time_ms = now_ms - now_ms % BIN_MS;
  if (bins_.empty() || bins_.back().time_ms != time_ms || bins_.back().isMetric != isMetric) {
    if (!bins_.empty() && bins_.back().time_ms == time_ms) bins_.pop_back();
    bins_.push_back({time_ms, values, values, isMetric});
  }
  value_bin_t& bin = bins_.back();
  for (std::size_t i = 0; i < values.size(); ++i) {
    bin.lowest.at(i) = std::fmin(bin.lowest.at(i), values.at(i));
    bin.highest.at(i) = std::fmax(bin.highest.at(i), values.at(i));
  }
  while (bins_.front().time_ms < now_ms - HISTORY_MS) bins_.pop_front();
}

json ValueRing::MakeCurves(std::int64_t after_ms, bool asMetric) const {
  const auto first = std::ranges::lower_bound(bins_, after_ms, {}, &value_bin_t::time_ms);
  json times = json::array();
  for (auto bin = first; bin != bins_.end(); ++bin) times.push_back(bin->time_ms);
  json curves = {{"times", std::move(times)}};
  for (const auto& [name, side] :
       {std::pair("lowest", &value_bin_t::lowest), std::pair("highest", &value_bin_t::highest)}) {
    for (std::size_t i = 0; i < HISTORY_CURVES.size(); ++i) {
      json& list = curves[name][std::string(HISTORY_CURVES.at(i).name)] = json::array();
      for (auto bin = first; bin != bins_.end(); ++bin) {
        const double factor = bin->isMetric == asMetric ? 1
                              : asMetric                ? METRIC_FACTORS.at(i)
                                                        : 1 / METRIC_FACTORS.at(i);
        list.push_back(Rounded(((*bin).*side).at(i) * factor, HISTORY_CURVES.at(i).step));
      }
    }
  }
  return curves;
}

}  // namespace unit
