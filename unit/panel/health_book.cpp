#include "unit/panel/health_book.h"

#include <nlohmann/json.hpp>

#include "base/json_text.h"

namespace unit {

using nlohmann::json;

bool HealthBook::Accept(const std::string& message, TimePoint now) {
  const json parsed = json::parse(message, nullptr, false);
  if (!parsed.is_object() || !parsed.contains("name") || !parsed["name"].is_string()) return false;
  if (!parsed.contains("up") || !parsed["up"].is_boolean()) return false;
  const std::string name = parsed["name"];
  const std::lock_guard lock(mutex_);
  const auto before = entries_.find(name);
  if (before == entries_.end() && entries_.size() >= MAX_ENTRIES) return false;
  const bool up = parsed["up"];
  const bool isNews = before == entries_.end() || before->second.up != up;
  entries_[name] = {message, up, now};
  return isNews;
}

HealthBook::report_t HealthBook::Report(const std::string& problem, TimePoint now) const {
  json services = json::array();
  bool up = problem.empty();
  const std::lock_guard lock(mutex_);
  for (const auto& [name, entry] : entries_) {
    json service = json::parse(entry.json);
    const bool silent = now - entry.heard > SILENT_AFTER;
    const char* state = entry.up ? "up" : "down";
    service["state"] = silent ? "silent" : state;
    service["up"] = entry.up && !silent;
    up = up && entry.up && !silent;
    services.push_back(std::move(service));
  }
  json report = {{"up", up}, {"services", std::move(services)}};
  if (!problem.empty()) report["problem"] = problem;
  return {up, base::DumpJson(report)};
}

}  // namespace unit
