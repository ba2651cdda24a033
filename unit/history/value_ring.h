// The operating values that the screen had in the last ten minutes, for curves.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

namespace unit {

// A curve's name, and the variable of the screen that it shows. An answer has the values as multiples of
// `step`.
struct history_curve_t {
  std::string_view name;
  const char* variable;
  double step;
};
constexpr std::array<history_curve_t, 6> HISTORY_CURVES = {{{"load", "OrvikLoad", 1},
                                                            {"capacity", "OrvikCapacity", 1},
                                                            {"percent", "OrvikPercentSafeWorkingLoad", 0.1},
                                                            {"radius", "OrvikRadius", 0.1},
                                                            {"angle", "OrvikAngle", 0.1},
                                                            {"extension", "OrvikExtension", 0.1}}};
using history_values_t = std::array<float, HISTORY_CURVES.size()>;  // NaN: not known

// Keeps the least and the greatest value of each tenth of a second, so that no peak gets lost: at most 6,001
// tenths of 64 bytes. Not thread-safe; its owner locks it, and copies it where an answer takes long.
class ValueRing {
 public:
  static constexpr std::int64_t BIN_MS = 100;

  // In the order of time. `isMetric`: the values are kilograms and metres, else pounds and feet.
  void Add(std::int64_t now_ms, const history_values_t& values, bool isMetric);
  std::size_t Size() const { return bins_.size(); }
  // {"times":[...],"lowest":{"load":[...],...},"highest":{...}}: the tenths that begin at `after_ms` or later,
  // all in one system of units; null: not known.
  nlohmann::json MakeCurves(std::int64_t after_ms, bool asMetric) const;

 private:
  struct value_bin_t {
    std::int64_t time_ms = 0;
    history_values_t lowest{};
    history_values_t highest{};
    bool isMetric = false;
  };

  std::deque<value_bin_t> bins_;
};

}  // namespace unit
