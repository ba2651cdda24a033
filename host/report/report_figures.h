// The figures at the report's top: how often the crane was overloaded, and the like.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "host/report/band_rows.h"

namespace host::report {

// An overload lasts from the message that lights the host's lamp to the one that darkens it. Its greatest
// percentage is that of the messages with the lamp lit.
class OverloadFigures {
 public:
  // Of each message with operating values. `percent` may be NaN.
  void NoteValues(std::int64_t time_ms, bool isOverloaded, double percent);
  // The host fell silent: what it says next begins anew.
  void NoteSilence() { isOverloaded_ = false; }

  // The times and the greatest percentages of all overloads, and the greatest of all; null: no message said
  // one.
  nlohmann::json ToJson() const;

 private:
  struct overload_t {
    std::int64_t begin_ms = 0;
    double percent = 0;  // NaN: not known
  };
  std::vector<overload_t> overloads_;
  bool isOverloaded_ = false;
};

// Counts that only rise, with the times at which they rose: of the first 1,000 times.
class EventCount {
 public:
  void Note(std::int64_t time_ms, std::uint64_t count);
  nlohmann::json ToJson() const;

 private:
  std::uint64_t count_ = 0;
  std::vector<std::int64_t> times_;
};

// How often, when, and how long in all.
nlohmann::json SpanFigures(const std::vector<band_span_t>& spans);

}  // namespace host::report
