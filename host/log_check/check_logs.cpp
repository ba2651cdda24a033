#include "host/log_check/check_logs.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <map>
#include <sstream>
#include <thread>

#include <unistd.h>

#include <pugixml.hpp>

#include "base/exit_status.h"
#include "base/installation.h"
#include "base/whole_file.h"
#include "host/link/stop_signal.h"
#include "host/log_check/digest.h"
#include "host/log_check/log_tasks.h"
#include "host/protocol/errors.h"

namespace host {
namespace {

namespace fs = std::filesystem;
using namespace log_check;
using Clock = std::chrono::steady_clock;

constexpr std::string_view RESULT_ENDING = ".film.zst";

// The files of this run's films, gone with it.
class TempFolder {
 public:
  TempFolder() {
    std::string pattern = fs::temp_directory_path() / "hx7-films-XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr) throw Failure("cannot make a folder " + pattern);
    path_ = pattern;
  }
  ~TempFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  const std::string& Path() const { return path_; }

 private:
  std::string path_;
};

// All files below the folder but hidden ones and results, in the order of their names; or the one log.
std::vector<std::string> FindLogs(const std::string& logs) {
  std::error_code error;
  if (fs::is_regular_file(logs, error)) return {logs};
  std::vector<std::string> found;
  auto at = fs::recursive_directory_iterator(logs, error);
  if (error) throw UsageError("cannot read the folder " + logs + "; check its name and its rights");
  for (; at != fs::recursive_directory_iterator(); at.increment(error)) {
    const std::string name = at->path().filename();
    if (name.starts_with('.') && at->is_directory()) at.disable_recursion_pending();
    if (at->is_regular_file() && !name.starts_with('.') && !name.ends_with(RESULT_ENDING))
      found.push_back(at->path());
  }
  if (found.empty()) throw UsageError("the folder " + logs + " holds no log");
  std::ranges::sort(found);
  return found;
}

// The digest of the program and of every file of the configuration.
std::string DisplayDigest(const film_program_t& film) {
  std::vector<std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(film.configFolder)) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  std::ranges::sort(files);
  Digest digest;
  digest.AddFile(film.program);
  for (const std::string& file : files) {
    digest.Add(file.substr(film.configFolder.size()));
    digest.AddFile(file);
  }
  return digest.Text();
}

std::string ResultsFolder(const check_logs_options_t& options) {
  if (!options.write.empty()) return options.write;
  if (!options.results.empty()) return options.results;
  fs::path baseline = fs::path(options.baseline).lexically_normal();
  if (!baseline.has_filename()) baseline = baseline.parent_path();  // "baseline/"
  return baseline.string() + ".now";
}

std::vector<log_task_t> MakeTasks(const check_logs_options_t& options) {
  const std::string results = ResultsFolder(options);
  std::error_code error;
  const fs::path folder =
      fs::is_regular_file(options.logs, error) ? fs::path(options.logs).parent_path() : fs::path(options.logs);
  std::vector<log_task_t> tasks;
  for (const std::string& log : FindLogs(options.logs)) {
    const std::string name = fs::path(log).lexically_relative(folder.empty() ? "." : folder);
    const std::string file = name + std::string(RESULT_ENDING);
    const std::string before = options.baseline.empty() ? "" : (fs::path(options.baseline) / file).string();
    tasks.push_back({.log = log, .name = name, .result = fs::path(results) / file, .before = before});
  }
  return tasks;
}

void CheckOptions(const check_logs_options_t& options) {
  if (options.baseline.empty() == options.write.empty())
    throw UsageError("name one folder: --against BASELINE to compare, or --write BASELINE to make one");
  std::error_code error;
  if (!options.baseline.empty() && !fs::is_directory(options.baseline, error)) {
    throw UsageError("there is no folder " + options.baseline + "; `hx7 check --logs " + options.logs +
                     " --write " + options.baseline + "` makes it");
  }
  if (!options.baseline.empty() && fs::equivalent(options.baseline, ResultsFolder(options), error))
    throw UsageError("--results is the baseline itself; name another folder");
}

void CheckOldResults(const check_logs_options_t& options, const std::vector<log_task_t>& tasks) {
  if (options.write.empty() || options.resume || options.force) return;
  const auto there =
      std::ranges::count_if(tasks, [](const log_task_t& task) { return fs::exists(task.result); });
  if (there == 0) return;
  throw UsageError(options.write + " holds " + std::to_string(there) +
                   " results of these logs; --resume keeps those that still hold, --force replaces them all");
}

log_plan_t MakePlan(const check_logs_options_t& options, const std::string& tempFolder) {
  log_plan_t plan;
  plan.film = {options.film.empty() ? base::ProgramFolder() + "/film" : options.film,
               base::FindConfigFolder(options.config), tempFolder};
  if (::access(plan.film.program.c_str(), X_OK) != 0)
    throw UsageError("there is no program " + plan.film.program + "; build the target film");
  plan.display = DisplayDigest(plan.film);
  plan.resume = options.resume;
  plan.jobs = options.jobs > 0 ? options.jobs : std::max(1U, std::thread::hardware_concurrency());
  return plan;
}

// What is printed while the logs are done.
class CheckReport {
 public:
  CheckReport(const check_logs_options_t& options, std::size_t logs)
      : options_(options), logs_(logs), isTerminal_(!options.quiet && ::isatty(STDERR_FILENO) != 0) {}

  void Note(const log_task_t& task);
  // Returns the exit status.
  int Finish(const std::vector<log_task_t>& tasks, bool isStopped);

 private:
  void ShowProgress();
  std::string Progress() const;
  std::size_t Count(outcome_t outcome) const {
    const auto found = counts_.find(outcome);
    return found == counts_.end() ? 0 : found->second;
  }

  const check_logs_options_t& options_;
  const std::size_t logs_;
  const bool isTerminal_;
  const Clock::time_point begin_ = Clock::now();
  std::size_t done_ = 0;
  std::size_t kept_ = 0;
  std::map<outcome_t, std::size_t> counts_;
};

struct outcome_words_t {
  outcome_t outcome;
  const char* line;     // behind the log's name
  const char* summary;  // behind the number
};
constexpr outcome_words_t OUTCOME_WORDS[] = {
    {outcome_t::DIFFERS, " is shown differently:", " differ"},
    {outcome_t::NEW, " has no result to compare with", " without a result to compare with"},
    {outcome_t::FAILED, " cannot be shown:", " failed"},
    {outcome_t::NO_LOG, " holds no frame", " without a frame"},
};

void CheckReport::Note(const log_task_t& task) {
  ++done_;
  kept_ += task.isKept ? 1 : 0;
  ++counts_[task.outcome];
  const auto* const words = std::ranges::find(OUTCOME_WORDS, task.outcome, &outcome_words_t::outcome);
  if (words != std::end(OUTCOME_WORDS)) {
    if (isTerminal_) std::cerr << "\r\033[K" << std::flush;
    std::cout << task.name << words->line << '\n' << task.words << std::flush;
  }
  ShowProgress();
}

// "12 of 40 logs, 3 differ, 25 a minute, 2 min left"
std::string CheckReport::Progress() const {
  const double minutes = std::chrono::duration<double, std::ratio<60>>(Clock::now() - begin_).count();
  const auto made = static_cast<double>(done_ - kept_);
  std::ostringstream text;
  text << done_ << " of " << logs_ << " logs, " << Count(outcome_t::DIFFERS) << " differ";
  if (made > 0) {
    const double pace = made / std::max(minutes, 1e-6);
    text << std::fixed << std::setprecision(0) << ", " << pace << " a minute, "
         << std::ceil(static_cast<double>(logs_ - done_) / pace) << " min left";
  }
  return text.str();
}

// On a terminal one line that changes; else a line at each tenth.
void CheckReport::ShowProgress() {
  if (options_.quiet) return;
  if (isTerminal_) {
    std::cerr << "\r\033[K" << Progress() << std::flush;
  } else if (done_ * 10 / logs_ != (done_ - 1) * 10 / logs_ && done_ < logs_) {
    std::cerr << "hx7: " + Progress() + "\n";
  }
}

int CheckReport::Finish(const std::vector<log_task_t>& tasks, bool isStopped) {
  const auto failures =
      static_cast<std::size_t>(Count(outcome_t::DIFFERS) + Count(outcome_t::NEW) + Count(outcome_t::FAILED));
  std::ostringstream text;
  text << "hx7: " << done_ << " of " << tasks.size() << " logs";
  if (kept_ > 0) text << ", " << kept_ << " from results that were there";
  text << ", " << Count(outcome_t::SAME) << (options_.baseline.empty() ? " done" : " the same");
  for (const outcome_words_t& words : OUTCOME_WORDS) {
    if (Count(words.outcome) > 0) text << ", " << Count(words.outcome) << words.summary;
  }
  if (isStopped) text << "; stopped, --resume continues";
  std::cerr << (isTerminal_ ? "\r\033[K" : "") << text.str() << std::endl;
  if (isStopped) return base::EXIT_INTERRUPTED;
  return failures > 0 ? base::EXIT_FAILED : base::EXIT_DONE;
}

// The form that build servers read: a test case for each log.
void WriteJunit(const std::string& file, const std::vector<log_task_t>& tasks) {
  pugi::xml_document document;
  pugi::xml_node suite = document.append_child("testsuites").append_child("testsuite");
  suite.append_attribute("name") = "hx7 check --logs";
  suite.append_attribute("tests") = static_cast<unsigned long long>(tasks.size());
  unsigned long long failures = 0;
  for (const log_task_t& task : tasks) {
    pugi::xml_node testCase = suite.append_child("testcase");
    testCase.append_attribute("classname") = "logs";
    testCase.append_attribute("name") = task.name.c_str();
    if (task.outcome == outcome_t::SAME) continue;
    const bool isSkipped = task.outcome == outcome_t::WAITS || task.outcome == outcome_t::NO_LOG;
    pugi::xml_node result = testCase.append_child(isSkipped ? "skipped" : "failure");
    const auto* const words = std::ranges::find(OUTCOME_WORDS, task.outcome, &outcome_words_t::outcome);
    const std::string line = words == std::end(OUTCOME_WORDS) ? " was not reached" : words->line;
    result.append_attribute("message") = (task.name + line).c_str();
    result.text() = task.words.c_str();
    failures += isSkipped ? 0 : 1;
  }
  suite.append_attribute("failures") = failures;
  std::ostringstream text;
  document.save(text, "  ");
  if (!base::ReplaceFile(file, text.str())) throw Failure("cannot write " + file + "; is the folder there?");
}

}  // namespace

int CheckLogs(const check_logs_options_t& options) {
  CheckOptions(options);
  std::vector<log_task_t> tasks = MakeTasks(options);
  CheckOldResults(options, tasks);
  const TempFolder temp;
  const log_plan_t plan = MakePlan(options, temp.Path());
  const StopSignal stop;
  CheckReport report(options, tasks.size());
  RunTasks(tasks, plan, stop, [&report](const log_task_t& task) { report.Note(task); });
  const int status = report.Finish(tasks, stop.Stopped());
  if (!options.junit.empty()) WriteJunit(options.junit, tasks);
  return status;
}

}  // namespace host
