#include "unit/history/recorded_history.h"

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <utility>

#include <nlohmann/json.hpp>

#include "base/json_text.h"

namespace unit {
namespace {

// Empty where there is no such file.
std::string ReadText(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

}  // namespace

RecordedHistory::RecordedHistory(std::string folder) : folder_(std::move(folder)) {
  nlohmann::json overview = nlohmann::json::parse(ReadText(folder_ + "/" + HISTORY_FILE), nullptr, false);
  if (!overview.is_object()) throw std::runtime_error(folder_ + "/" + HISTORY_FILE + " is no history");
  overview["recorded"] = true;
  overview_ = base::DumpJson(overview);
}

std::string RecordedHistory::Overview(std::int64_t /*after_ms*/) {
  return overview_;
}

std::string RecordedHistory::Screens(std::uint64_t number) {
  const std::string file = folder_ + "/" + HISTORY_FOLDER + "/" + std::to_string(number) + ".json";
  std::string text = ReadText(file);
  return nlohmann::json::accept(text) ? text : std::string();
}

}  // namespace unit
