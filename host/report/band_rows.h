// What held from when to when: the page shown, the language, lamps, the beeper, keys.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace host::report {

struct band_span_t {
  std::int64_t begin_ms = 0;
  std::int64_t end_ms = 0;
  std::string label;
};

class BandRows {
 public:
  // A beeper that pulses for ten hours has some 90,000. Spans beyond that are left out, and Finish says so.
  static constexpr std::size_t MOST_SPANS = 100'000;

  // From now on the row has this label; an empty label: none. The same label as before changes nothing.
  void Set(const std::string& row, std::int64_t time_ms, std::string_view label);
  // Ends what holds in all rows.
  void EndAll(std::int64_t time_ms);
  const std::vector<band_span_t>& Spans(const std::string& row) const;
  // The rows by name: the labels, and for each span its beginning, its length and its label's place among them.
  // Ends all rows first.
  nlohmann::json Finish(std::int64_t time_ms);
  bool IsFull() const { return isFull_; }

 private:
  struct band_row_t {
    std::vector<band_span_t> spans;
    std::optional<band_span_t> open;
  };
  void End(band_row_t& row, std::int64_t time_ms);

  std::map<std::string, band_row_t> rows_;
  bool isFull_ = false;
};

}  // namespace host::report
