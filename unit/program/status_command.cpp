#include "unit/program/status_command.h"

#include <cstdio>
#include <iostream>
#include <string>

#include <httplib.h>

#include <nlohmann/json.hpp>

#include "platform/paths.h"

#include "base/address_file.h"

namespace unit {
namespace {

constexpr int TIMEOUT_S = 3;
constexpr int HTTP_OK = 200;

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
  std::cout << "unit: nothing runs in " << platform::RuntimeDirectory() << ". Start it with \"unit run\".\n";
  return 1;
}

}  // namespace

int ShowStatus() {
  const std::string address = base::ReadAddressFile(base::PANEL_ADDRESS_FILE);
  if (address.empty()) return ReportNothingRuns();
  httplib::Client client("http://" + address);
  client.set_connection_timeout(TIMEOUT_S);
  client.set_read_timeout(TIMEOUT_S);
  const httplib::Result result = client.Get("/api/health");
  if (!result) return ReportNothingRuns();
  const nlohmann::json json = nlohmann::json::parse(result->body, nullptr, false);
  if (json.is_discarded()) {
    std::cerr << "unit status: http://" << address
              << "/api/health is not a front panel: it answers with something else than JSON.\n";
    return 1;
  }
  ShowEntries(json);
  return result->status == HTTP_OK ? 0 : 1;
}

}  // namespace unit
