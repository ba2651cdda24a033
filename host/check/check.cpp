#include "host/check/check.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <thread>

#include <sched.h>

#include "base/exit_status.h"
#include "base/installation.h"
#include "host/check/case_run.h"
#include "host/check/free_cores.h"
#include "host/check/junit.h"
#include "host/check/progress.h"
#include "host/protocol/errors.h"
#include "host/simulate/config_files.h"

namespace check {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto REFRESH = 500ms;
// A turn of the loop that takes so much longer than its pause: the machine was suspended or had no time for
// anybody.
constexpr auto STANDSTILL = 2s;
constexpr int MOST_TRIES = 3;
constexpr auto ROOM_POLL = 100ms;
constexpr double ENOUGH_FREE = 0.2;  // of all cores, for one more desk
constexpr const char* ALL = "all";
// What a desk takes to start and to end, for the order of the cases only.
constexpr double DESK_S = 8;

double EstimateSeconds(const case_t& run) {
  return run.length_s / run.speed + DESK_S;
}

unsigned CountCores() {
  cpu_set_t cores;
  if (::sched_getaffinity(0, sizeof cores, &cores) != 0) return 1;
  return std::max(1U, static_cast<unsigned>(CPU_COUNT(&cores)));
}

// A folder that is removed with all that it has.
class ScratchFolder {
 public:
  ScratchFolder() : path_(fs::temp_directory_path() / "hx7-check-XXXXXX") {
    if (::mkdtemp(path_.data()) == nullptr)
      throw host::Failure("cannot make a folder in " + fs::temp_directory_path().string());
  }
  ~ScratchFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  // A new folder in it.
  std::string Make(std::size_t number) const {
    std::string folder = path_ + "/" + std::to_string(number);
    fs::create_directory(folder);
    return folder;
  }

 private:
  std::string path_;
};

std::vector<std::string> NamesOf(const check_options_t& options, const simulate::ConfigFiles& files) {
  const bool all = std::ranges::find(options.scenarios, ALL) != options.scenarios.end();
  return all ? files.ScenarioNames() : options.scenarios;
}

// The longest first, so that the last ones to end are short.
std::vector<case_t> MakeCases(const check_options_t& options, const simulate::ConfigFiles& files) {
  std::vector<case_t> cases;
  for (const std::string& name : NamesOf(options, files)) {
    const simulate::scenario_t scenario = files.Scenario(name);
    for (const std::uint32_t seed : options.seeds) {
      cases.push_back({scenario.name, fs::absolute(scenario.file), seed,
                       std::min(options.speed, scenario.speed),
                       static_cast<double>(scenario.Length_ms()) / 1000});
    }
  }
  std::ranges::stable_sort(cases, std::greater(), EstimateSeconds);
  return cases;
}

case_settings_t MakeSettings(const check_options_t& options) {
  const std::string programs = base::ProgramFolder();
  if (!fs::exists(programs + "/unit")) {
    throw host::Failure("the program unit is not beside hx7 in " + programs + "; build both");
  }
  return {programs, fs::canonical(base::FindConfigFolder(options.config)), options.keep, options.writePictures};
}

class CheckRun {
 public:
  CheckRun(const check_options_t& options, const case_settings_t& settings, std::vector<case_t> cases)
      : settings_(settings),
        cases_(std::move(cases)),
        adapts_(options.jobs == 0),
        jobs_(adapts_ ? JOBS_PER_CORE * CountCores() : options.jobs),
        results_(cases_.size()),
        progress_(cases_.size()) {}
  void Run();
  bool Interrupted() const { return stop_.Stopped() && Count(verdict_t::INTERRUPTED) > 0; }
  std::size_t Failed() const { return Count(verdict_t::FAILED); }
  std::vector<finished_case_t> Finished() const;

 private:
  void Work();
  bool AwaitRoom();
  case_result_t RunOne(std::size_t number);
  case_result_t RunUndisturbed(std::size_t number);
  std::size_t Count(verdict_t verdict) const {
    return static_cast<std::size_t>(std::ranges::count(results_, verdict, &case_result_t::verdict));
  }

  const host::StopSignal stop_;
  const case_settings_t settings_;
  const std::vector<case_t> cases_;
  const bool adapts_;  // to the free cores
  const unsigned jobs_;
  const ScratchFolder scratch_;
  std::vector<case_result_t> results_;  // each element is of the thread that runs its case
  std::atomic<std::size_t> next_{0};
  std::atomic<std::size_t> working_{0};
  std::atomic<std::size_t> running_{0};  // desks
  std::atomic<bool> hasRoom_{false};     // for one more desk
  std::atomic<unsigned> standstills_{0};
  Progress progress_;
};

void CheckRun::Run() {
  std::vector<std::jthread> workers;
  working_ = std::min<std::size_t>(jobs_, cases_.size());
  for (std::size_t i = working_; i > 0; --i) workers.emplace_back([this] { Work(); });
  FreeCores cores;
  while (working_ > 0) {
    hasRoom_ = !adapts_ || cores.Share() >= ENOUGH_FREE;
    const auto begin = Clock::now();
    std::this_thread::sleep_for(REFRESH);
    if (Clock::now() - begin > REFRESH + STANDSTILL) ++standstills_;
    progress_.Refresh();
  }
  progress_.Close();
}

// One desk more at each turn of Run's loop, so that the next turn sees what it takes. False when nothing is
// left to do.
bool CheckRun::AwaitRoom() {
  while (!stop_.Stopped() && next_ < cases_.size()) {
    const bool first = running_++ < LEAST_JOBS;
    if (first || !adapts_ || hasRoom_.exchange(false)) return true;
    --running_;
    stop_.WaitUntil(Clock::now() + ROOM_POLL);
  }
  return false;
}

void CheckRun::Work() {
  while (AwaitRoom()) {
    const std::size_t number = next_++;
    if (number < cases_.size()) {
      progress_.Begin(number, cases_[number]);
      results_[number] = RunUndisturbed(number);
      progress_.End(number, results_[number]);
    }
    --running_;
  }
  --working_;
}

// A failure while the machine stood still says nothing of the display; such a run is repeated.
case_result_t CheckRun::RunUndisturbed(std::size_t number) {
  for (int tries = 1;; ++tries) {
    const unsigned before = standstills_;
    case_result_t result = RunOne(number);
    if (result.verdict != verdict_t::FAILED || standstills_ == before || tries == MOST_TRIES) return result;
    if (!result.kept.empty()) fs::remove_all(result.kept);
    std::cerr << "hx7: " + TitleOf(cases_[number]) + " runs again: the machine stood still meanwhile\n";
  }
}

case_result_t CheckRun::RunOne(std::size_t number) {
  try {
    const std::string folder = scratch_.Make(number);
    const auto begins = [&] { progress_.BeginScenario(number); };
    case_result_t result = RunCase(cases_[number], settings_, folder, stop_, begins);
    fs::remove_all(folder);
    return result;
  } catch (const std::exception& error) {
    case_result_t result;
    result.verdict = verdict_t::FAILED;
    result.failures.emplace_back(error.what());
    return result;
  }
}

std::vector<finished_case_t> CheckRun::Finished() const {
  std::vector<finished_case_t> finished;
  for (std::size_t i = 0; i < cases_.size(); ++i) finished.emplace_back(cases_[i], results_[i]);
  std::ranges::sort(finished, {},
                    [](const finished_case_t& each) { return std::pair(each.first.name, each.first.seed); });
  return finished;
}

}  // namespace

int Check(const check_options_t& options) {
  const simulate::ConfigFiles files(options.config);
  std::vector<case_t> cases = MakeCases(options, files);
  const auto begin = Clock::now();
  CheckRun run(options, MakeSettings(options), std::move(cases));
  run.Run();
  const auto finished = run.Finished();
  if (run.Interrupted()) {
    std::cerr << "hx7: interrupted; all desks have ended"
              << (options.junit.empty() ? "" : ", no JUnit file is written") << "\n";
    return base::EXIT_INTERRUPTED;
  }
  if (!options.junit.empty()) WriteJunit(options.junit, finished);
  const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
  std::cout << finished.size() - run.Failed() << " of " << finished.size() << " runs passed in "
            << std::lround(seconds) << " s\n";
  return run.Failed() > 0 ? base::EXIT_FAILED : base::EXIT_DONE;
}

}  // namespace check
