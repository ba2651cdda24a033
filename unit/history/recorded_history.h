// The history of a bundle, read from the folder into which the bundle was unpacked.
#pragma once

#include <string>

#include "unit/history/history_source.h"

namespace unit {

// The files of a history in a bundle: the answer of GET /api/history, and in the folder the answers of GET
// /api/history/screens/NUMBER, named NUMBER.json.
constexpr const char* HISTORY_FILE = "history.json";
constexpr const char* HISTORY_FOLDER = "history";

class RecordedHistory : public HistorySource {
 public:
  // `folder` has HISTORY_FILE and HISTORY_FOLDER. Throws std::runtime_error when that is no history.
  explicit RecordedHistory(std::string folder);

  // The whole history, with "recorded" true.
  std::string Overview(std::int64_t after_ms) override;
  std::string Screens(std::uint64_t number) override;

 private:
  const std::string folder_;
  std::string overview_;
};

}  // namespace unit
