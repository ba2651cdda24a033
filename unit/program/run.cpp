#include "unit/program/run.h"

#include <array>
#include <chrono>
#include <csignal>
#include <functional>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <tuple>

#include <nlohmann/json.hpp>

#include "platform/paths.h"

#include "base/address_file.h"
#include "base/whole_file.h"
#include "unit/blackbox/rolling_log.h"
#include "unit/blackbox/tee.h"
#include "unit/board/beeper_word.h"
#include "unit/board/board_service.h"
#include "unit/database/attach.h"
#include "unit/database/database_service.h"
#include "unit/health/health_publisher.h"
#include "unit/health/notify_link.h"
#include "unit/j1939/j1939_service.h"
#include "unit/notify/notify_service.h"
#include "unit/panel/panel_service.h"
#include "unit/program/run_folder.h"
#include "unit/program/run_lock.h"
#include "unit/program/stop_signals.h"
#include "unit/program/supervisor.h"
#include "unit/screen/client/screen_client.h"
#include "unit/screen/service/screen_service.h"
#include "unit/window/window_service.h"

namespace unit {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr auto STEP = 100ms;
// The application goes to its splash page first and gives its threads up to five seconds.
constexpr auto ORVIK_STOP_TIME = 6s;
// It ends from its main and slate pages alone.
constexpr const char* ORVIK_REFUSAL = "NOT on terminatable page";
constexpr auto HOST_STOP_TIME = 2s;
// The host waits for an application that listens, so that its first words are heard, but not for ever.
constexpr auto HOST_PATIENCE = 5s;
constexpr std::size_t LINES_KEPT = 1U << 20U;  // bytes, twice

struct part_t {
  const char* name;
  std::unique_ptr<Service> (*make)(const options_t& options);
};

std::unique_ptr<Service> MakeWindow(const options_t& options) {
  return MakeWindowService(options, RequestStop);
}

constexpr std::array<part_t, 7> SERVICES = {{{"notify", MakeNotifyService},
                                             {"database", MakeDatabaseService},
                                             {"board", MakeBoardService},
                                             {"j1939", MakeJ1939Service},
                                             {"screen", MakeScreenService},
                                             {"panel", MakePanelService},
                                             {WINDOW_PART, MakeWindow}}};

// Asked for while the services start.
struct stopped_t {};

class UnitRun {
 public:
  explicit UnitRun(const run_plan_t& plan) : plan_(plan) {}
  ~UnitRun() { StopAll(); }
  UnitRun(const UnitRun&) = delete;
  UnitRun& operator=(const UnitRun&) = delete;

  void Start();
  void WaitForTheEnd();
  std::string TakeSnapshot() const;
  void StopAll();

 private:
  struct running_t {
    std::string name;
    std::unique_ptr<Service> service;
  };

  bool Wants(const std::string& part) const { return plan_.parts.contains(part); }
  void TakeLocks();
  void StartService(const part_t& part);
  void StartOrvik();
  void StartHost();
  bool HostMayStart() const;
  void WriteRunFile() const;
  bool HasHost() const;
  std::vector<std::string> HostArguments() const;
  std::vector<status_t> Statuses() const;
  void ShowCounters() const;

  const run_plan_t& plan_;
  steady_clock::time_point started_;
  bool hostStarted_ = false;
  std::vector<RunLock> locks_;
  std::vector<running_t> services_;
  RollingLog lines_{"lines", LINES_KEPT};
  Tee out_{std::cout, "unit", lines_};
  Tee err_{std::cerr, "unit", lines_};
  Supervisor supervisor_{lines_};
  std::unique_ptr<HealthPublisher> health_;
  std::optional<DatabaseWatch> database_;  // looks from before the application's start
};

void UnitRun::Start() {
  TakeLocks();
  WriteRunFile();
  PrepareRoot(plan_.options.configDirectory);
  for (const part_t& part : SERVICES) {
    if (Wants(part.name)) StartService(part);
  }
  health_ = std::make_unique<HealthPublisher>([this] { return Statuses(); });
  database_.emplace();
  StartOrvik();
  started_ = steady_clock::now();
  if (Wants("panel")) {
    std::cout << "unit: panel at http://" << base::ReadAddressFile(base::PANEL_ADDRESS_FILE) << "/"
              << std::endl;
  }
}

void UnitRun::TakeLocks() {
  for (const std::string& part : PartNames()) {
    if (Wants(part)) locks_.emplace_back(part);
  }
}

void UnitRun::StartService(const part_t& part) {
  if (StopRequested(0ms)) throw stopped_t();
  std::unique_ptr<Service> service = part.make(plan_.options);
  try {
    service->Start();
  } catch (const std::exception& error) {
    throw std::runtime_error(std::string(part.name) + ": " + error.what());
  }
  services_.push_back({part.name, std::move(service)});
  std::cout << "unit: " << part.name << " is up";
  if (services_.back().name == "j1939") {
    const std::string address = base::ReadAddressFile(base::BUS_ADDRESS_FILE);
    std::cout << ", bus " << plan_.options.bus;
    if (plan_.options.bus == "local" && !address.empty()) std::cout << " (socketcand at " << address << ")";
  }
  std::cout << std::endl;
}

// For those who ask later what ran here.
void UnitRun::WriteRunFile() const {
  const nlohmann::json run = {{"config", plan_.options.configDirectory},
                              {"bus", plan_.options.bus},
                              {"play", plan_.playFile},
                              {"parts", plan_.parts}};
  std::ignore = base::ReplaceFile(platform::RuntimeDirectory() + "/run.json", run.dump() + "\n");
}

void UnitRun::StartOrvik() {
  if (StopRequested(0ms)) throw stopped_t();
  if (Wants("orvik")) {
    supervisor_.Start({.name = "orvik",
                       .arguments = {FindProgram("orvik"), plan_.options.genericFile},
                       .stopSignal = SIGUSR1,
                       .stopTime = ORVIK_STOP_TIME,
                       .refusal = ORVIK_REFUSAL,
                       .endIsFailure = true,
                       .tidyUp = SilenceBeeper});
  }
  supervisor_.Step();
}

// Once the application's parser beats, it has its receive filters and hears the bus.
bool UnitRun::HostMayStart() const {
  if (!Wants("orvik") || !Wants("notify") || steady_clock::now() - started_ > HOST_PATIENCE) return true;
  const std::map<std::string, std::uint64_t> counters = services_.front().service->GetStatus().counters;
  const auto parser = counters.find("worker.Parse");
  if (parser == counters.end() || parser->second == 0) return false;
  return !plan_.hostMayStart || plan_.hostMayStart();
}

void UnitRun::StartHost() {
  if (hostStarted_ || !HostMayStart()) return;
  hostStarted_ = true;
  if (Wants("hx7") && HasHost()) {
    supervisor_.Start({.name = "hx7",
                       .arguments = HostArguments(),
                       .stopSignal = SIGTERM,
                       .stopTime = HOST_STOP_TIME,
                       .refusal = {},
                       .endIsFailure = false,
                       .tidyUp = {}});
  }
  supervisor_.Step();
}

// On a real bus there is a real host, so that a simulated one must be asked for.
bool UnitRun::HasHost() const {
  return plan_.options.bus == "local" || !plan_.playFile.empty() || !plan_.scenario.empty();
}

std::vector<std::string> UnitRun::HostArguments() const {
  std::vector<std::string> arguments = {FindProgram("hx7")};
  if (!plan_.playFile.empty()) {
    arguments.insert(arguments.end(), {"play", plan_.playFile, "--speed", plan_.speed});
    if (!plan_.keysFile.empty()) arguments.insert(arguments.end(), {"--keys", plan_.keysFile});
    if (plan_.loop) arguments.emplace_back("--loop");
    return arguments;
  }
  arguments.insert(arguments.end(), {"simulate", "--bus", plan_.options.bus, "--config",
                                     plan_.options.configDirectory, "--http", "127.0.0.1:0"});
  if (!plan_.scenario.empty()) arguments.insert(arguments.end(), {"--scenario", plan_.scenario});
  return arguments;
}

std::vector<status_t> UnitRun::Statuses() const {
  std::vector<status_t> statuses = supervisor_.Statuses();
  for (const running_t& running : services_) statuses.push_back(running.service->GetStatus());
  return statuses;
}

void UnitRun::WaitForTheEnd() {
  const auto end = steady_clock::now() + std::chrono::seconds(plan_.seconds.value_or(0));
  ManagerWatch manager;
  while (!StopRequested(STEP)) {
    StartHost();
    supervisor_.Step();
    if (plan_.untilPlayed && supervisor_.HasEnded("hx7")) return;
    if (Wants("orvik") && manager.WasReplaced()) {
      supervisor_.Restart("orvik",
                          "the notification manager was started again, and the application is not heard");
    }
    if (Wants("orvik") && database_->WasReplaced()) {
      supervisor_.Restart("orvik", "there is another parameter database, which the application does not know");
    }
    if (plan_.seconds && steady_clock::now() >= end) return;
  }
}

std::string UnitRun::TakeSnapshot() const {
  if (plan_.snapshotFile.empty()) return {};
  std::string problem = SaveSnapshot(plan_.snapshotFile);
  if (problem.empty()) std::cout << "unit: picture written to " << plan_.snapshotFile << std::endl;
  return problem;
}

// The programs first, the host before the application; then the services, the last started first.
void UnitRun::StopAll() {
  if (locks_.empty()) return;
  supervisor_.Stop();
  health_.reset();
  if (plan_.verbose) ShowCounters();
  for (; !services_.empty(); services_.pop_back()) services_.back().service->Stop();
  locks_.clear();
  platform::RemoveRuntimeLeftovers();
  std::cout << "unit: stopped" << std::endl;
}

void UnitRun::ShowCounters() const {
  for (const status_t& status : Statuses()) {
    std::cout << "unit: " << status.name << ":";
    for (const auto& [name, value] : status.counters) std::cout << ' ' << name << '=' << value;
    std::cout << '\n';
  }
}

}  // namespace

const std::vector<std::string>& PartNames() {
  static const std::vector<std::string> NAMES = {"notify", "database",  "board", "j1939", "screen",
                                                 "panel",  WINDOW_PART, "orvik", "hx7"};
  return NAMES;
}

std::set<std::string> UsualParts() {
  std::set<std::string> parts(PartNames().begin(), PartNames().end());
  parts.erase(WINDOW_PART);
  return parts;
}

int Run(const run_plan_t& plan) {
  if (platform::RuntimeDirectory().empty()) {
    std::cerr
        << "unit run: the runtime directory cannot be made; set ORVIK_RUNTIME_DIR to a folder of your own.\n";
    return 1;
  }
  UnitRun run(plan);
  try {
    run.Start();
    run.WaitForTheEnd();
    std::string problem = run.TakeSnapshot();
    if (!problem.empty()) problem.insert(0, "no picture: ");
    if (problem.empty() && plan.atEnd) problem = plan.atEnd();
    if (problem.empty()) return 0;
    std::cerr << "unit run: " << problem << std::endl;
  } catch (const stopped_t&) {
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "unit run: " << error.what() << std::endl;
  }
  return 1;  // the run stops whatever it has started
}

}  // namespace unit
