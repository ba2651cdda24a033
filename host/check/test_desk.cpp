#include "host/check/test_desk.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <fstream>
#include <stdexcept>

#include <fcntl.h>

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
  unit_ = StartProgram(
      "unit", {"run", "--no-host", "--config", plan_.config, "--http", ANY_PORT, "--socketcand", ANY_PORT},
      LogFile());
  const auto end = Clock::now() + START_PATIENCE;
  while (!judge::AskPanel(Address(), judge::SHOWN).problem.empty()) {
    if (const auto ending = unit_->TryReap()) return "the unit " + ending->Describe() + " while it started";
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
  if (const auto ending = unit_->TryReap()) return "the unit " + ending->Describe();
  const judge::panel_answer_t health = judge::AskPanel(Address(), judge::HEALTH);
  const nlohmann::json json = nlohmann::json::parse(health.body, nullptr, false);
  if (!json.is_object() || !json.contains("services"))
    return "the unit's health cannot be read: " + health.problem;
  return DescribeApplication(json["services"]);
}

std::string TestDesk::PackBundle(const std::string& file) const {
  const auto ending =
      StartProgram("unit", {"bundle", file}, plan_.folder + "/bundle.log")->AwaitEnd(BUNDLE_PATIENCE);
  if (!ending) return "unit bundle did not end within 30 s";
  return ending->IsSuccess() ? "" : "unit bundle " + ending->Describe();
}

std::unique_ptr<base::ChildProcess> TestDesk::StartProgram(const std::string& name,
                                                           std::vector<std::string> arguments,
                                                           const std::string& outputFile) const {
  const base::Descriptor output(
      open(outputFile.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, S_IRUSR | S_IWUSR));
  if (output.Get() < 0) throw std::runtime_error("cannot write " + outputFile + ": " + std::strerror(errno));
  arguments.insert(arguments.begin(), plan_.programs + "/" + name);
  return std::make_unique<base::ChildProcess>(
      base::child_plan_t{.arguments = std::move(arguments),
                         .variables = {"ORVIK_RUNTIME_DIR=" + RuntimeFolder()},
                         .output = output.Get(),
                         .errors = output.Get()});
}

void TestDesk::Stop() {
  if (unit_) unit_->Stop(STOP_PATIENCE);
}

}  // namespace check
