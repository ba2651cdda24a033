#include "unit/program/run.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <tuple>

#include <nlohmann/json.hpp>

#include "platform/paths.h"
#include "platform/process.h"
#include "platform/threads.h"

#include "base/address_file.h"
#include "base/exit_status.h"
#include "base/whole_file.h"
#include "unit/blackbox/rolling_log.h"
#include "unit/blackbox/tee.h"
#include "unit/board/board_watch.h"
#include "unit/children/stop_signals.h"
#include "unit/children/supervisor.h"
#include "unit/database/attach.h"
#include "unit/health/health_publisher.h"
#include "unit/health/notify_link.h"
#include "unit/health/silence_watch.h"
#include "unit/program/parts.h"
#include "unit/program/preflight.h"
#include "unit/program/run_folder.h"
#include "unit/program/run_lock.h"
#include "unit/program/service_manager.h"
#include "unit/screen/client/screen_client.h"
#include "unit/service/liveness.h"

namespace unit {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr auto STEP = 100ms;
// hx7 starts once the application listens to the bus, so that none of its first messages is lost; after this
// time it starts in any case.
constexpr auto HOST_PATIENCE = 5s;
// All parts have some 270 open, and connections from outside take 180 at most (64 served by the panel and as
// many that wait there, 64 stations of the bus). So no client from outside can take those that the services
// need, the application's when it starts again among them.
constexpr unsigned DESCRIPTORS = 560;
constexpr std::size_t LINES_KEPT = 1U << 20U;  // bytes for each of the log's two files

// A part that has a process of its own has a log of its own too: two processes cannot write one.
std::string NameOfLog(const run_plan_t& plan) {
  return plan.parts.size() == 1 ? "lines-" + *plan.parts.begin() : "lines";
}

// Names the threads that hang; empty where none does.
std::string DescribeLateThreads() {
  std::string names;
  for (const std::string& name : Liveness::LateThreads(Liveness::Clock::now())) {
    names += (names.empty() ? "no sign of life from the thread " : ", ") + name;
  }
  return names;
}

// Thrown when a stop is requested while the services start.
struct stop_request_t {};

class UnitRun {
 public:
  explicit UnitRun(const run_plan_t& plan) : plan_(plan) {}
  ~UnitRun() { StopAll(); }
  UnitRun(const UnitRun&) = delete;
  UnitRun& operator=(const UnitRun&) = delete;

  void Start();
  // True when the end of the plan was reached, false when a stop was requested.
  bool WaitForTheEnd();
  // One line for each part that has failed since the start, or is down now. What has not come up yet counts
  // only at the end of the plan.
  std::vector<std::string> Failures(bool atTheEnd) const;
  std::string WriteLastPicture() const;
  void StopAll();

 private:
  struct running_t {
    std::string name;
    std::unique_ptr<Service> service;
  };

  bool Wants(const std::string& part) const { return plan_.parts.contains(part); }
  void TakeLocks();
  void StartService(const service_part_t& part);
  std::string DescribeBus() const;
  void StartOrvik();
  void StartHost();
  void RestartOrvikIfCutOff(ManagerWatch& manager);
  void RestartOrvikIfSilent();
  bool HostMayStart() const;
  void WriteRunFile() const;
  void NoteState();
  void ShowPlace();
  void TellServiceManager();
  bool HasCome() const { return hasCome_ || !Wants(ORVIK_PART); }
  std::vector<status_t> Statuses() const;
  void ShowCounters() const;

  const run_plan_t& plan_;
  steady_clock::time_point started_;
  bool hostStarted_ = false;
  bool hasCome_ = false;            // the application has come up
  bool placeShown_ = false;         // the address of the panel has been printed in its box
  std::set<std::string> wereDown_;  // workers of the application that were silent
  std::vector<RunLock> locks_;
  std::vector<running_t> services_;
  ServiceManager serviceManager_;
  RollingLog lines_{NameOfLog(plan_), LINES_KEPT};
  Tee out_{std::cout, "unit", lines_};
  Tee err_{std::cerr, "unit", lines_};
  Supervisor supervisor_{lines_, !plan_.verbose};
  std::unique_ptr<HealthPublisher> health_;
  std::optional<DatabaseWatch> database_;  // both made before the application starts
  std::optional<BoardWatch> board_;
  std::optional<SilenceWatch> silence_;
};

void UnitRun::Start() {
  TakeLocks();
  WriteRunFile();
  PrepareRoot(plan_.options.configDirectory);
  for (const service_part_t& part : ServiceParts()) {
    if (Wants(part.name)) StartService(part);
  }
  health_ = std::make_unique<HealthPublisher>([this] { return Statuses(); });
  database_.emplace();
  board_.emplace();
  if (Wants(ORVIK_PART) && plan_.silence > 0) silence_.emplace();
  StartOrvik();
  started_ = steady_clock::now();
  const std::string panel = base::ReadAddressFile(base::PANEL_ADDRESS_FILE);
  if (!Wants(PANEL_PART) || panel.empty()) return;
  std::cout << "unit: panel at http://" << panel << "/" << std::endl;
  if (plan_.historyNote.empty()) return;
  std::cout << plan_.command << ": " << plan_.historyNote << ": http://" << panel << "/#history" << std::endl;
}

void UnitRun::TakeLocks() {
  for (const std::string& part : PartNames()) {
    if (Wants(part)) locks_.emplace_back(part);
  }
}

void UnitRun::StartService(const service_part_t& part) {
  if (StopRequested(0ms)) throw stop_request_t();
  platform::NameThread(part.name);  // the service's threads inherit it
  std::unique_ptr<Service> service = part.make(plan_.options);
  try {
    service->Start();
  } catch (const std::exception& error) {
    throw std::runtime_error(std::string(part.name) + ": " + error.what());
  }
  platform::NameThread("unit");
  const bool waits = part.name == std::string_view(PANEL_PART) && !service->GetStatus().up;
  services_.push_back({part.name, std::move(service)});
  std::cout << "unit: " << part.name << (waits ? " waits for its address" : " is up")
            << (part.name == std::string_view(J1939_PART) ? DescribeBus() : "") << std::endl;
}

std::string UnitRun::DescribeBus() const {
  const std::string address = base::ReadAddressFile(base::BUS_ADDRESS_FILE);
  const bool isLocal = plan_.options.bus == "local" && !address.empty();
  return ", bus " + plan_.options.bus + (isLocal ? " (socketcand at " + address + ")" : "");
}

// `unit bundle` reads this file, also after the run.
void UnitRun::WriteRunFile() const {
  const nlohmann::json run = {{"config", plan_.options.configDirectory},
                              {"bus", plan_.options.bus},
                              {"play", plan_.playFile},
                              {"parts", plan_.parts}};
  std::ignore = base::ReplaceFile(platform::RuntimeDirectory() + "/run.json", run.dump() + "\n");
}

void UnitRun::StartOrvik() {
  if (StopRequested(0ms)) throw stop_request_t();
  if (Wants(ORVIK_PART)) supervisor_.Start(MakeOrvikProgram(plan_));
  supervisor_.Step();
}

// Once the parser thread of the application sends its heartbeat, the application has set its receive filters
// and hears the bus.
bool UnitRun::HostMayStart() const {
  if (!Wants(ORVIK_PART) || !Wants(NOTIFY_PART) || steady_clock::now() - started_ > HOST_PATIENCE) return true;
  const std::map<std::string, std::uint64_t> counters = services_.front().service->GetStatus().counters;
  const auto parser = counters.find("worker.Parse");
  if (parser == counters.end() || parser->second == 0) return false;
  return !plan_.hostMayStart || plan_.hostMayStart();
}

void UnitRun::StartHost() {
  if (hostStarted_ || !HostMayStart()) return;
  hostStarted_ = true;
  if (HasHost(plan_)) supervisor_.Start(MakeHostProgram(plan_));
  supervisor_.Step();
}

std::vector<status_t> UnitRun::Statuses() const {
  std::vector<status_t> statuses = supervisor_.Statuses();
  for (const running_t& running : services_) statuses.push_back(running.service->GetStatus());
  return statuses;
}

bool UnitRun::WaitForTheEnd() {
  const auto end = steady_clock::now() + std::chrono::seconds(plan_.seconds.value_or(0));
  ManagerWatch manager;
  while (!StopRequested(STEP)) {
    StartHost();
    supervisor_.Step();
    NoteState();
    ShowPlace();
    TellServiceManager();
    if (plan_.untilDone && supervisor_.HasEnded(HOST_PART)) return true;
    if (supervisor_.HasGivenUp()) return true;
    if (Wants(ORVIK_PART)) RestartOrvikIfCutOff(manager);
    if (silence_) RestartOrvikIfSilent();
    if (plan_.seconds && steady_clock::now() >= end) return true;
  }
  return false;
}

void UnitRun::NoteState() {
  hasCome_ = hasCome_ || supervisor_.HasTold(ORVIK_PART, HAS_COME_UP);
  if (!plan_.HasEnd()) return;
  for (const running_t& running : services_) {
    for (const status_t& worker : WorkersOf(running.service->GetStatus())) {
      if (!worker.up) wereDown_.insert(worker.name);
    }
  }
}

void UnitRun::TellServiceManager() {
  if (HasCome()) serviceManager_.TellReady();
  serviceManager_.FeedWatchdog(DescribeLateThreads(), steady_clock::now());
}

// Once the desk is ready. The eye finds it among the lines.
void UnitRun::ShowPlace() {
  if (placeShown_ || !HasCome()) return;
  placeShown_ = true;
  const std::string address = base::ReadAddressFile(base::PANEL_ADDRESS_FILE);
  if (!Wants(PANEL_PART) || address.empty() || serviceManager_.IsThere()) return;
  const std::array<std::string, 2> texts = {"The front panel: http://" + address + "/",
                                            plan_.HasEnd() ? "" : "Ctrl-C stops the desk"};
  const std::size_t width = std::max(texts[0].size(), texts[1].size());
  std::string rule;
  for (std::size_t i = 0; i < width + 4; ++i) rule += "─";
  std::string box = "┌" + rule + "┐\n";
  for (const std::string& text : texts) {
    if (!text.empty()) box += "│  " + text + std::string(width - text.size(), ' ') + "  │\n";
  }
  std::cout << box << "└" << rule << "┘" << std::endl;
}

// Only in a run with an end: another one goes on until the desk is as it should be.
std::vector<std::string> UnitRun::Failures(bool atTheEnd) const {
  std::vector<std::string> failures = supervisor_.Failures();
  const bool died = !failures.empty();
  if (!plan_.HasEnd()) return supervisor_.HasGivenUp() ? failures : std::vector<std::string>();
  if (atTheEnd && !HasCome() && !died) failures.emplace_back("orvik never came up");
  if (atTheEnd && HasHost(plan_) && !hostStarted_)
    failures.emplace_back("hx7 never came up: the application was not ready");
  for (const running_t& running : services_) {
    const status_t status = running.service->GetStatus();
    if (!status.up) failures.push_back(status.name + " is down: " + status.detail);
  }
  if (died) return failures;  // the workers' silence is the application's death
  for (const std::string& worker : wereDown_)
    failures.push_back("no heartbeat came for a while from the " + worker);
  return failures;
}

// The application connects to the manager, the database and the board once, when it starts.
void UnitRun::RestartOrvikIfCutOff(ManagerWatch& manager) {
  if (manager.WasReplaced()) {
    supervisor_.Restart(ORVIK_PART,
                        "the notification manager was started again, and no longer hears the application");
  }
  const auto started = supervisor_.RunsSince(ORVIK_PART);
  if (manager.IsThere() && started && steady_clock::now() - *started > NotifyLink::RETRY &&
      supervisor_.HasTold(ORVIK_PART, IS_CUT_OFF)) {
    supervisor_.Restart(ORVIK_PART, "the application did not reach the notification manager");
  }
  if (database_->WasReplaced()) {
    supervisor_.Restart(ORVIK_PART,
                        "the parameter database was made again, and the application still has the old one");
  }
  if (board_->WasReplaced()) {
    supervisor_.Restart(ORVIK_PART, "the board was made again, and the application still has the old one");
  }
}

void UnitRun::RestartOrvikIfSilent() {
  const auto started = supervisor_.RunsSince(ORVIK_PART);
  if (!started || silence_->SilentFor(*started) < std::chrono::seconds(plan_.silence)) return;
  supervisor_.Restart(ORVIK_PART,
                      "the application has given no sign of life for " + std::to_string(plan_.silence) + " s");
}

std::string UnitRun::WriteLastPicture() const {
  if (plan_.snapshotFile.empty()) return {};
  std::string problem = WriteSnapshot(plan_.snapshotFile);
  if (problem.empty()) std::cout << "unit: picture written to " << plan_.snapshotFile << std::endl;
  return problem;
}

// Stops the programs first, the host before the application, then the services in the reverse order of
// starting.
void UnitRun::StopAll() {
  if (locks_.empty()) return;
  serviceManager_.TellStopping();
  supervisor_.Stop();
  silence_.reset();
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

// For this process and, by the variable, for the application.
void EnterRealTime() {
  setenv(platform::REAL_TIME_VARIABLE, "1", 1);
  const std::string refusal = platform::EnterRealTime();
  if (!refusal.empty()) std::cerr << "unit: --realtime: " + refusal << std::endl;
}

struct outcome_t {
  std::vector<std::string> reasons;  // why the run has failed; empty where it has not
  bool stopped = false;              // before its end
};

outcome_t RunToTheEnd(UnitRun& run, const run_plan_t& plan) {
  try {
    run.Start();
    const bool stopped = !run.WaitForTheEnd();
    outcome_t outcome{run.Failures(!stopped), stopped};
    if (const std::string problem = run.WriteLastPicture(); !problem.empty()) {
      outcome.reasons.push_back("no picture: " + problem);
    }
    const std::string problem = plan.atEnd && !stopped ? plan.atEnd() : "";
    if (!problem.empty()) outcome.reasons.push_back(problem);
    return outcome;
  } catch (const stop_request_t&) {
    return {{}, true};
  } catch (const std::exception& error) {
    return {{error.what()}, false};
  }
}

int Conclude(const outcome_t& outcome, const run_plan_t& plan) {
  for (const std::string& reason : outcome.reasons) std::cerr << plan.command << ": " + reason << std::endl;
  if (!outcome.reasons.empty()) return base::EXIT_FAILED;
  if (!outcome.stopped || !plan.HasEnd()) return base::EXIT_DONE;
  std::cerr << plan.command << ": interrupted before the end; it says nothing of the rest" << std::endl;
  return base::EXIT_INTERRUPTED;
}

}  // namespace

int Run(const run_plan_t& plan) {
  std::string obstacle = platform::EnsureDescriptors(DESCRIPTORS);
  if (obstacle.empty()) obstacle = platform::RuntimeDirectoryProblem();
  if (obstacle.empty()) obstacle = FindMistake(plan);
  if (!obstacle.empty()) {
    std::cerr << plan.command << ": " << obstacle << std::endl;
    return base::EXIT_CALLED_WRONGLY;
  }
  if (plan.realTime) EnterRealTime();
  std::optional<UnitRun> run(std::in_place, plan);
  const outcome_t outcome = RunToTheEnd(*run, plan);
  run.reset();  // stops what was started, so that the reasons stand at the end
  return Conclude(outcome, plan);
}

}  // namespace unit
