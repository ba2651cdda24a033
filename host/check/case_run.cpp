#include "host/check/case_run.h"

#include <chrono>
#include <filesystem>
#include <fstream>

#include "base/exit_status.h"
#include "host/judge/judgement.h"
#include "host/judge/panel_client.h"
#include "host/protocol/errors.h"

namespace check {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto POLL = 50ms;
constexpr auto HOST_STOP_PATIENCE = 3s;
// A simulator on a busy machine takes longer than its scenario; one that takes so much longer hangs. The limits
// count this program's own waits, so that a machine that was suspended ends no run.
constexpr double SLOWEST = 3;
constexpr double SLOWEST_START_S = 120;

std::string FormatFactor(double factor) {
  std::string text = std::to_string(factor);
  text.erase(text.find_last_not_of('0') + 1);
  if (text.ends_with('.')) text.pop_back();
  return text;
}

class CaseRun {
 public:
  CaseRun(const case_t& run, const case_settings_t& settings, std::string folder, const host::StopSignal& stop)
      : run_(run),
        settings_(settings),
        folder_(std::move(folder)),
        stop_(stop),
        desk_({settings.programs, settings.config, folder_}) {}
  case_result_t Run(const std::function<void()>& begins);

 private:
  void RunScenario();
  std::vector<std::string> SimulatorArguments() const;
  std::string AwaitSimulator(base::ChildProcess& simulator);
  void ReadResults();
  void KeepFailure();
  void Fail(const std::string& failure) {
    if (!failure.empty()) result_.failures.push_back(failure);
  }
  std::string Results() const { return folder_ + "/results"; }
  std::string SimulatorLog() const { return folder_ + "/simulate.log"; }

  const case_t& run_;
  const case_settings_t& settings_;
  const std::string folder_;
  const host::StopSignal& stop_;
  TestDesk desk_;
  case_result_t result_;
};

case_result_t CaseRun::Run(const std::function<void()>& begins) {
  const auto begin = Clock::now();
  fs::create_directory(Results());
  Fail(desk_.Start(stop_));
  if (result_.failures.empty() && !stop_.Stopped()) {
    begins();
    RunScenario();
  }
  if (!stop_.Stopped()) {
    result_.verdict = result_.failures.empty() ? verdict_t::PASSED : verdict_t::FAILED;
    if (!result_.failures.empty()) KeepFailure();
  }
  desk_.Stop();
  result_.seconds = std::chrono::duration<double>(Clock::now() - begin).count();
  return result_;
}

std::vector<std::string> CaseRun::SimulatorArguments() const {
  std::vector<std::string> arguments = {"simulate",
                                        "--config",
                                        settings_.config,
                                        "--scenario",
                                        run_.file,
                                        "--seed",
                                        std::to_string(run_.seed),
                                        "--speed",
                                        FormatFactor(run_.speed),
                                        "--results",
                                        Results(),
                                        "--once",
                                        "--quiet"};
  if (settings_.writePictures) arguments.emplace_back("--write-pictures");
  return arguments;
}

void CaseRun::RunScenario() {
  const auto simulator = desk_.StartProgram("hx7", SimulatorArguments(), SimulatorLog());
  const std::string problem = AwaitSimulator(*simulator);
  if (stop_.Stopped()) return simulator->Stop(HOST_STOP_PATIENCE);
  ReadResults();
  Fail(problem);
  Fail(desk_.FindProblem());
}

// Returns what went wrong with the simulator itself; empty where it ended and told of its expectations.
std::string CaseRun::AwaitSimulator(base::ChildProcess& simulator) {
  const std::chrono::duration<double> limit(SLOWEST_START_S + run_.length_s / run_.speed * SLOWEST);
  for (auto left = static_cast<std::int64_t>(limit / POLL); stop_.WaitUntil(Clock::now() + POLL); --left) {
    if (const auto ending = simulator.TryReap()) {
      const bool told = ending->ExitStatus().value_or(base::EXIT_INTERRUPTED) <= base::EXIT_FAILED;
      return told ? "" : "the simulator " + ending->Describe();
    }
    if (left <= 0) return "the simulator did not end";
  }
  return {};
}

void CaseRun::ReadResults() {
  for (const judge::judgement_t& judgement : judge::ReadJudgements(Results() + "/" + judge::RESULTS_FILE)) {
    ++result_.expectations;
    if (!judgement.fulfilled) Fail(judge::DescribeFailure(judgement));
  }
}

// The pictures of the failures are in the results' folder. A failure that is no expectation has one of the end.
void CaseRun::KeepFailure() {
  result_.kept = settings_.keep + "/" + run_.name + "-seed" + std::to_string(run_.seed);
  fs::remove_all(result_.kept);
  fs::create_directories(fs::path(result_.kept).parent_path());
  fs::copy(Results(), result_.kept);
  for (const std::string& log : {desk_.LogFile(), SimulatorLog()}) {
    if (fs::exists(log)) fs::copy(log, result_.kept);
  }
  const judge::panel_answer_t picture = judge::AskPanel(desk_.Address(), judge::PICTURE);
  if (picture.problem.empty()) std::ofstream(result_.kept + "/end.png", std::ios::binary) << picture.body;
  const std::string problem = desk_.PackBundle(result_.kept + "/bundle.tar.gz");
  if (!problem.empty()) result_.failures.push_back("(no bundle: " + problem + ")");
}

}  // namespace

std::string TitleOf(const case_t& run) {
  return run.name + ", seed " + std::to_string(run.seed);
}

case_result_t RunCase(const case_t& run, const case_settings_t& settings, const std::string& folder,
                      const host::StopSignal& stop, const std::function<void()>& begins) {
  return CaseRun(run, settings, folder, stop).Run(begins);
}

}  // namespace check
