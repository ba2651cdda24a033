// What the screen showed before: recorded by this unit, or read from a bundle.
#pragma once

#include <cstdint>
#include <string>

namespace unit {

// Times are milliseconds since the history's own beginning. Any thread calls both functions.
class HistorySource {
 public:
  HistorySource() = default;
  virtual ~HistorySource() = default;
  HistorySource(const HistorySource&) = delete;
  HistorySource& operator=(const HistorySource&) = delete;

  // The answer of GET /api/history (docs/http-api.md): curves and bands that are not older than `after_ms`.
  virtual std::string Overview(std::int64_t after_ms) = 0;
  // The answer of GET /api/history/screens/NUMBER; empty where that chunk is not kept.
  virtual std::string Screens(std::uint64_t number) = 0;
};

}  // namespace unit
