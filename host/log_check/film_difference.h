// Where two films of one log differ.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host/log_check/film_result.h"

namespace host::log_check {

struct shown_change_t {
  std::string name;
  std::string before;  // in words
  std::string now;
};

struct film_difference_t {
  // The first moment, milliseconds since the log's beginning; empty: only drawings differ.
  std::optional<std::int64_t> time_ms;
  std::vector<shown_change_t> changes;  // what differs at that moment, at most MOST_CHANGES
  std::size_t more = 0;                 // what differs then beside these
  std::set<std::string> redrawn;        // the names of pages whose drawing differs, up to that moment

  static constexpr std::size_t MOST_CHANGES = 5;
  bool IsNone() const { return !time_ms && redrawn.empty(); }
};

// A difference that lasts no longer than this is none: a display that computes faster or slower shows the same
// values a little earlier or later.
constexpr std::int64_t TOLERANCE_MS = 200;

// Reads both results up to the first moment at which they differ.
film_difference_t CompareFilms(FilmResultReader& before, FilmResultReader& now);

// In lines, each after two blanks.
std::string DescribeDifference(const film_difference_t& difference);

}  // namespace host::log_check
