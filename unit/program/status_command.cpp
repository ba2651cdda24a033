#include "unit/program/status_command.h"

#include <chrono>
#include <cstdio>
#include <iostream>
#include <map>
#include <mutex>
#include <string>
#include <thread>

#include <httplib.h>

#include <nlohmann/json.hpp>

#include "platform/paths.h"

#include "base/address_file.h"
#include "base/exit_status.h"
#include "base/json_text.h"
#include "unit/health/notify_link.h"
#include "unit/health/subscriber.h"
#include "unit/service/service.h"

namespace unit {
namespace {

constexpr int TIMEOUT_S = 3;
constexpr int HTTP_OK = 200;
constexpr std::chrono::milliseconds HEALTH_TIME{1500};  // each service publishes its state once a second

void ShowEntry(const nlohmann::json& entry) {
  const std::string name = entry.value("name", "?");
  const std::string detail = entry.value("detail", "");
  std::printf("%-20s %-5s %s\n", name.c_str(), entry.value("up", false) ? "up" : "DOWN", detail.c_str());
}

// Prints every object that has a name and a state, at whatever depth of the document.
void ShowEntries(const nlohmann::json& json) {
  for (const auto& item : json) {
    if (item.is_object() && item.contains("name") && item.contains("up")) {
      ShowEntry(item);
    } else if (item.is_structured()) {
      ShowEntries(item);
    }
  }
}

int ReportNothingRuns() {
  std::cerr << "unit: nothing runs in " << platform::RuntimeDirectory() << ". Start it with \"unit run\".\n";
  return base::EXIT_FAILED;
}

// What the services publish; used where the front panel, which collects it, cannot be reached. Empty where
// nothing is published.
std::map<std::string, nlohmann::json> CollectHealth() {
  std::mutex mutex;
  std::map<std::string, nlohmann::json> entries;  // guarded by mutex
  const Subscriber subscriber({HEALTH_CHANNEL_NAME}, [&](std::size_t, auto payload) {
    const nlohmann::json entry = nlohmann::json::parse(payload, nullptr, false);
    if (!entry.is_object()) return;
    const std::lock_guard lock(mutex);
    entries[entry.value("name", "?")] = entry;
  });
  std::this_thread::sleep_for(HEALTH_TIME);
  const std::lock_guard lock(mutex);
  return entries;
}

// In the form of GET /api/health.
void ShowAsJson(const std::map<std::string, nlohmann::json>& entries) {
  nlohmann::json services = nlohmann::json::array();
  for (const auto& [name, entry] : entries) services.push_back(entry);
  const nlohmann::json report = {
      {"up", false}, {"problem", "the front panel does not answer"}, {"services", std::move(services)}};
  std::cout << base::DumpJson(report) << '\n';
}

int ReportWithoutPanel(bool asJson) {
  if (const std::string problem = platform::RuntimeDirectoryProblem(); !problem.empty()) {
    std::cerr << "unit status: " << problem << '\n';
    return base::EXIT_CALLED_WRONGLY;
  }
  if (!ConnectToManager()) return ReportNothingRuns();  // nothing is published, so there is nothing to wait for
  const std::map<std::string, nlohmann::json> entries = CollectHealth();
  if (asJson && !entries.empty()) {
    ShowAsJson(entries);
  } else {
    for (const auto& [name, entry] : entries) ShowEntry(entry);
  }
  return entries.empty() ? ReportNothingRuns() : 1;
}
}  // namespace

int ShowStatus(bool asJson) {
  const std::string address = base::ReadAddressFile(base::PANEL_ADDRESS_FILE);
  if (address.empty()) return ReportWithoutPanel(asJson);
  httplib::Client client("http://" + address);
  client.set_connection_timeout(TIMEOUT_S);
  client.set_read_timeout(TIMEOUT_S);
  const httplib::Result result = client.Get("/api/health");
  if (!result) return ReportWithoutPanel(asJson);
  const nlohmann::json json = nlohmann::json::parse(result->body, nullptr, false);
  if (json.is_discarded()) {
    std::cerr << "unit status: http://" << address
              << "/api/health is not a front panel: it answers with something else than JSON.\n";
    return base::EXIT_FAILED;
  }
  if (asJson) {
    std::cout << base::DumpJson(json) << '\n';
  } else {
    ShowEntries(json);
  }
  return result->status == HTTP_OK ? 0 : 1;
}

}  // namespace unit
