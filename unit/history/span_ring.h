// What held from when to when in the last ten minutes: the page, the language, lamps, the beeper, keys.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

namespace unit {

// Not thread-safe; its owner locks it.
class SpanRing {
 public:
  // A beeper that pulses and eight keys that are pressed as fast as the board reports have some 5,000 each. At
  // this bound the oldest span goes.
  static constexpr std::size_t MOST_SPANS = 20'000;

  // From now on the row has this label; an empty label: none. The same label as before changes nothing. In the
  // order of time.
  void Set(const std::string& row, std::int64_t now_ms, std::string_view label);
  std::size_t Size() const { return ended_.size(); }
  // {"page":[[begin, end, "Main"],...],...}: the spans that end at `after_ms` or later. Those that still hold
  // end now.
  nlohmann::json MakeRows(std::int64_t after_ms, std::int64_t now_ms) const;

 private:
  struct history_span_t {
    std::string row;
    std::int64_t begin_ms = 0;
    std::int64_t end_ms = 0;
    std::string label;
  };

  std::deque<history_span_t> ended_;  // in the order of their ends
  std::map<std::string, history_span_t> holding_;
};

}  // namespace unit
