#include "host/check/test_desk.h"

#include <chrono>
#include <fstream>
#include <thread>

#include <nlohmann/json.hpp>

#include "base/address_file.h"
#include "host/judge/panel_client.h"

namespace check {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto START_PATIENCE = 30s;
constexpr auto START_POLL = 100ms;
constexpr auto STOP_PATIENCE = 15s;  // the application waits for its threads, and the unit for the application
constexpr auto BUNDLE_PATIENCE = 30s;
constexpr const char* ANY_PORT = "127.0.0.1:0";
constexpr const char* APPLICATION = "orvik";

// Of the application; the supervisor counts each time that it ended by itself.
std::string DescribeApplication(const nlohmann::json& services) {
  for (const nlohmann::json& service : services) {
    if (service.value("name", "") != APPLICATION) continue;
    const auto counters = service.value("counters", nlohmann::json::object());
    const int ends = counters.value("ends", 0);
    if (ends > 0)
      return "the application ended " + std::to_string(ends) + " times: " + service.value("detail", "");
    return service.value("up", true) ? "" : "the application is not up: " + service.value("detail", "");
  }
  return {};
}

}  // namespace

std::string TestDesk::Start(const host::StopSignal& stop) {
  unit_.emplace(child_plan_t{{plan_.programs + "/unit", "run", "--no-host", "--config", plan_.config, "--http",
                              ANY_PORT, "--socketcand", ANY_PORT},
                             RuntimeFolder(),
                             LogFile()});
  const auto end = Clock::now() + START_PATIENCE;
  while (!judge::AskPanel(Address(), judge::SHOWN).problem.empty()) {
    if (const auto status = unit_->TryReap())
      return "the unit " + DescribeEnding(*status) + " while it started";
    if (Clock::now() >= end) return "the unit's panel did not answer within 30 s";
    if (!stop.WaitUntil(Clock::now() + START_POLL)) return {};
  }
  return {};
}

std::string TestDesk::Address() const {
  std::ifstream file(RuntimeFolder() + "/" + base::PANEL_ADDRESS_FILE);
  std::string address;
  std::getline(file, address);
  return address;
}

std::string TestDesk::FindProblem() {
  if (const auto status = unit_->TryReap()) return "the unit " + DescribeEnding(*status);
  const judge::panel_answer_t health = judge::AskPanel(Address(), judge::HEALTH);
  const nlohmann::json json = nlohmann::json::parse(health.body, nullptr, false);
  if (!json.is_object() || !json.contains("services"))
    return "the unit's health cannot be read: " + health.problem;
  return DescribeApplication(json["services"]);
}

std::string TestDesk::PackBundle(const std::string& file) const {
  ChildProcess bundle(
      {{plan_.programs + "/unit", "bundle", file}, RuntimeFolder(), plan_.folder + "/bundle.log"});
  const auto end = Clock::now() + BUNDLE_PATIENCE;
  for (;; std::this_thread::sleep_for(START_POLL)) {
    if (const auto status = bundle.TryReap())
      return *status == 0 ? "" : "unit bundle " + DescribeEnding(*status);
    if (Clock::now() >= end) return "unit bundle did not end within 30 s";
  }
}

void TestDesk::Stop() {
  if (unit_) unit_->Stop(STOP_PATIENCE);
}

}  // namespace check
