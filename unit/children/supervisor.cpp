#include "unit/children/supervisor.h"

#include <algorithm>
#include <csignal>
#include <iostream>

#include "unit/children/stop_signals.h"

namespace unit {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

namespace {

// Null while the program does not run.
template <class Runs>
auto* FindRunning(Runs& runs, const std::string& name) {
  const auto run =
      std::ranges::find_if(runs, [&](const auto& each) { return each.program.name == name && each.child; });
  return run == runs.end() ? nullptr : &*run;
}

}  // namespace

void Supervisor::Start(const program_t& program) {
  run_t run;
  run.program = program;
  Launch(run);
  const std::lock_guard lock(mutex_);
  runs_.push_back(std::move(run));
}

void Supervisor::Launch(run_t& run) {
  run.lines = std::make_shared<LineWatch>(run.program.told);
  run.child = StartChild(run.program.name, run.program.arguments, pump_, run.lines);
  run.started = steady_clock::now();
  run.startAgain.reset();
  run.killAt.reset();
  run.asked = false;
}

void Supervisor::Step() {
  const steady_clock::time_point now = steady_clock::now();
  for (run_t& run : runs_) {
    if (run.child) {
      CheckChild(run);
    } else if (run.startAgain && now >= *run.startAgain) {
      LaunchAgain(run, now);
    }
  }
}

void Supervisor::CheckChild(run_t& run) {
  if (const auto ending = run.child->TryReap()) {
    AcceptEnding(run, *ending);
  } else if (run.killAt && steady_clock::now() >= *run.killAt) {
    std::cerr << "unit: " << run.program.name << " does not react; killing it" << std::endl;
    run.killAt.reset();
    run.child->Signal(SIGKILL);
  } else if (!run.up) {
    Note(run, true, "process " + std::to_string(run.child->Process()));
  }
}

void Supervisor::LaunchAgain(run_t& run, TimePoint now) {
  try {
    Launch(run);
  } catch (const std::exception& error) {
    std::cerr << "unit: " << error.what() << std::endl;
    run.startAgain = now + FIRST_DELAY;
  }
}

void Supervisor::AcceptEnding(run_t& run, const base::ending_t& ending) {
  const steady_clock::time_point now = steady_clock::now();
  if (!ending.IsSuccess() || run.program.endIsFailure) NoteFailure(run, ending, now);
  ForgetChild(run);
  if (ending.IsSuccess()) {
    std::cout << "unit: " << run.program.name << " has ended" << std::endl;
    return Note(run, !run.program.endIsFailure, "has ended");
  }
  run.ran += now - run.started;
  if (!StartsAgain(run, ending)) {
    std::cerr << "unit: " << run.program.name << " " << run.why << (run.givenUp ? "; giving it up" : "")
              << std::endl;
    return Note(run, false, run.why);
  }
  const std::chrono::seconds delay = run.asked ? 0s : DelayAfterDeath(run);
  run.startAgain = now + delay;
  std::cerr << "unit: " << run.program.name << " " << ending.Describe() << "; starting it again"
            << (delay > delay.zero() ? " in " + std::to_string(delay.count()) + " s" : "") << std::endl;
  Note(run, false, ending.Describe());
}

void Supervisor::NoteFailure(run_t& run, const base::ending_t& ending, TimePoint now) {
  ++run.failures;
  if (!run.asked) run.why = ending.IsSuccess() ? "has ended" : ending.Describe();
  const std::string core = DescribeCore(run.child->Process(), ending);
  if (!core.empty()) run.core = core;
  run.lastLines = run.lines;
  run.shortRuns = now - run.started < DEATHS_WITHIN ? run.shortRuns + 1 : 1;
  run.givenUp = run.program.tries > 0 && run.shortRuns >= run.program.tries;
}

bool Supervisor::StartsAgain(run_t& run, const base::ending_t& ending) {
  if (run.givenUp || run.program.revival == revival_t::NEVER) return false;
  return run.program.revival == revival_t::ALWAYS || ending.IsCrash();
}

bool Supervisor::HasGivenUp() const {
  return std::ranges::any_of(runs_, [](const run_t& run) { return run.givenUp; });
}

std::vector<std::string> Supervisor::Failures() const {
  std::vector<std::string> failures;
  for (const run_t& run : runs_) {
    if (run.failures == 0) continue;
    std::string line = run.program.name + " " + run.why;
    if (run.failures > 1) line += ", " + std::to_string(run.failures) + " times";
    if (run.givenUp) line += ", and was given up";
    if (!run.core.empty()) line += "; " + run.core;
    const std::string last = run.lastLines->LastLines();
    if (!last.empty()) line += "; its last lines: " + last;
    failures.push_back(line);
  }
  return failures;
}

std::chrono::seconds Supervisor::DelayAfterDeath(run_t& run) {
  const bool isThird = run.ran - run.deaths[0] < DEATHS_WITHIN;
  run.deaths = {run.deaths[1], run.ran};
  return run.delay = isThird ? std::clamp(run.delay * 2, FIRST_DELAY, LONGEST_DELAY) : 0s;
}

void Supervisor::Restart(const std::string& name, const std::string& why) {
  auto* const run = FindRunning(runs_, name);
  if (run == nullptr || run->killAt) return;
  std::cerr << "unit: " << why << "; " << name << " has to start again" << std::endl;
  run->child->Signal(SIGTERM);
  run->why = "had to be started again: " + why;
  run->asked = true;
  run->killAt = steady_clock::now() + TERMINATE_TIME;
}

std::optional<Supervisor::TimePoint> Supervisor::RunsSince(const std::string& name) const {
  const auto* const run = FindRunning(runs_, name);
  if (run == nullptr || run->killAt) return std::nullopt;
  return run->started;
}

bool Supervisor::HasTold(const std::string& name, told_t what) const {
  const auto* const run = FindRunning(runs_, name);
  return run != nullptr && run->lines->HasTold(what);
}

bool Supervisor::HasEnded(const std::string& name) const {
  const auto run = std::ranges::find(runs_, name, [](const run_t& r) { return r.program.name; });
  return run != runs_.end() && !run->child && !run->startAgain;
}

void Supervisor::Stop() {
  for (auto run = runs_.rbegin(); run != runs_.rend(); ++run) {
    if (!run->child) continue;
    EndChild(*run);
    ForgetChild(*run);
  }
  const std::lock_guard lock(mutex_);
  runs_.clear();
}

void Supervisor::EndChild(run_t& run) {
  const std::string& name = run.program.name;
  if (run.child->TryReap()) return;
  run.lines->Forget(REFUSES_TO_STOP);
  run.child->Signal(run.program.stopSignal);
  if (WaitForEnd(run, run.program.stopTime)) return;
  const bool refused = run.lines->HasTold(REFUSES_TO_STOP);
  std::cerr << "unit: " << name << (refused ? " refuses to stop" : " did not stop by itself")
            << "; terminating it" << std::endl;
  run.lines->Forget(REFUSES_TO_STOP);
  run.child->Signal(SIGTERM);
  if (WaitForEnd(run, TERMINATE_TIME)) return;
  std::cerr << "unit: " << name << " does not react; killing it" << std::endl;
}

// The child's destructor kills the process where it still runs.
void Supervisor::ForgetChild(run_t& run) {
  run.child.reset();
  if (run.program.tidyUp) run.program.tidyUp();
}

// Waits until the child has ended, has refused to stop, `time` is over, or another stop is requested. True when
// the child has ended.
bool Supervisor::WaitForEnd(run_t& run, std::chrono::milliseconds time) {
  const auto deadline = steady_clock::now() + time;
  while (!run.child->TryReap()) {
    if (run.lines->HasTold(REFUSES_TO_STOP) || steady_clock::now() >= deadline) break;
    if (StopRequested(std::chrono::milliseconds(20))) break;
  }
  return run.child->TryReap().has_value();
}

void Supervisor::Note(run_t& run, bool up, const std::string& detail) {
  const std::lock_guard lock(mutex_);
  run.ends += run.up && !up ? 1 : 0;
  run.up = up;
  run.detail = detail;
}

std::vector<status_t> Supervisor::Statuses() const {
  const std::lock_guard lock(mutex_);
  std::vector<status_t> statuses;
  for (const run_t& run : runs_) {
    statuses.push_back({run.program.name, run.up, run.detail, {{"ends", run.ends}}});
  }
  return statuses;
}

}  // namespace unit
