// Keeps the child programs running: starts them, starts them again when they fail, and stops them in order.
#pragma once

#include <array>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "unit/children/child.h"
#include "unit/children/lines.h"
#include "unit/service/service.h"

namespace unit {

// Which failures of a program are followed by another start.
enum class revival_t {
  ALWAYS,
  AFTER_CRASH,  // after a signal, but not after an end with a status of its own
  NEVER,
};

// What to run and how to stop it.
struct program_t {
  std::string name;                    // "orvik"
  std::vector<std::string> arguments;  // the executable's path first
  int stopSignal;
  std::chrono::milliseconds stopTime;  // then SIGTERM follows, then SIGKILL
  LineWatch::texts_t told;             // parts of the lines with which it tells these things
  bool endIsFailure;                   // an end with status 0 counts as down
  std::function<void()> tidyUp;        // called after each of its ends; may be empty
  revival_t revival = revival_t::ALWAYS;
  unsigned tries = 0;  // given up after so many starts that each lasted less than DEATHS_WITHIN; 0: never
};

// All calls but Statuses come from the thread that made the object.
class Supervisor {
 public:
  // A program that dies is started again at once. From its third death within ten seconds of running there is a
  // delay, which doubles as long as it goes on so. A run that Restart has ended does not count.
  static constexpr std::chrono::seconds FIRST_DELAY{1};
  static constexpr std::chrono::seconds LONGEST_DELAY{10};
  static constexpr std::chrono::seconds DEATHS_WITHIN{10};
  static constexpr std::chrono::seconds TERMINATE_TIME{2};

  // The children's lines go to `log` too, which must outlive this. `quiet` as of LinePump.
  Supervisor(RollingLog& log, bool quiet) : pump_(log, quiet) {}
  // Starts a program. They are stopped in the reverse order. Throws std::runtime_error.
  void Start(const program_t& program);
  // Notes which children have ended and starts them again when it is time. Called ten times a second, and when
  // a child may have ended.
  void Step();
  // Terminates a program, so that it is started again; `why` is printed. Kills it when it has not ended after
  // TERMINATE_TIME.
  void Restart(const std::string& name, const std::string& why);
  // Since when the program runs; empty while it does not, or has been terminated.
  std::optional<std::chrono::steady_clock::time_point> RunsSince(const std::string& name) const;
  // The program has told this since its start.
  bool HasTold(const std::string& name, told_t what) const;
  // The program has ended with status 0 and is not started again.
  bool HasEnded(const std::string& name) const;
  // A program has been given up after its last try.
  bool HasGivenUp() const;
  // One line for each program that has failed since its start: how, how often, its core or its last lines.
  std::vector<std::string> Failures() const;
  // Stops all programs. A further stop request during the wait sends the next, harsher signal at once.
  void Stop();
  // The state of each program, in the form of a service's. Any thread.
  std::vector<status_t> Statuses() const;

 private:
  using TimePoint = std::chrono::steady_clock::time_point;
  struct run_t {
    program_t program;
    std::unique_ptr<base::ChildProcess> child;  // null while it does not run
    std::shared_ptr<LineWatch> lines;
    TimePoint started;
    std::chrono::steady_clock::duration ran{0};  // in all, up to its last end
    // What it had run at its last two deaths.
    std::array<std::chrono::steady_clock::duration, 2> deaths{-DEATHS_WITHIN, -DEATHS_WITHIN};
    std::chrono::seconds delay{0};  // after the last death
    std::optional<TimePoint> startAgain;
    std::optional<TimePoint> killAt;  // Restart has terminated it
    bool asked = false;               // its end was asked for by Restart
    std::uint64_t ends = 0;
    unsigned shortRuns = 0;  // without a long one between them
    bool givenUp = false;
    unsigned failures = 0;
    std::string why;                       // of the last failure
    std::string core;                      // of the last one that left any
    std::shared_ptr<LineWatch> lastLines;  // of the last run that failed
    std::string detail;
    bool up = false;
  };

  static std::chrono::seconds DelayAfterDeath(run_t& run);
  void Launch(run_t& run);
  void LaunchAgain(run_t& run, TimePoint now);
  void CheckChild(run_t& run);
  void AcceptEnding(run_t& run, const base::ending_t& ending);
  static void NoteFailure(run_t& run, const base::ending_t& ending, TimePoint now);
  static bool StartsAgain(run_t& run, const base::ending_t& ending);
  static void ForgetChild(run_t& run);
  static bool WaitForEnd(run_t& run, std::chrono::milliseconds time);
  static void EndChild(run_t& run);
  void Note(run_t& run, bool up, const std::string& detail);

  LinePump pump_;
  mutable std::mutex mutex_;  // guards the list, and what Statuses reads of its entries
  std::vector<run_t> runs_;
};

}  // namespace unit
