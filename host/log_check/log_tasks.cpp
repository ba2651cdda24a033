#include "host/log_check/log_tasks.h"

#include <atomic>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

#include <sys/stat.h>

#include "bus/log_lines.h"
#include "host/log/film_page.h"
#include "host/log/log_reader.h"
#include "host/log_check/film_difference.h"
#include "host/protocol/errors.h"

namespace host::log_check {
namespace {

std::string DigestOf(const std::string& log) {
  Digest digest;
  digest.AddFile(log);
  return digest.Text();
}

// Without the digest, which takes a look at every byte.
log_stamp_t StampOf(const std::string& log) {
  constexpr std::int64_t US_PER_SECOND = 1'000'000;
  constexpr std::int64_t NS_PER_US = 1'000;
  struct stat status {};
  if (::stat(log.c_str(), &status) != 0) throw UsageError("cannot read it; check its rights");
  return {static_cast<std::uint64_t>(status.st_size),
          status.st_mtim.tv_sec * US_PER_SECOND + status.st_mtim.tv_nsec / NS_PER_US,
          {}};
}

// A log copied or touched has another time and the same bytes.
bool IsSameLog(const log_stamp_t& kept, const log_stamp_t& log, const std::string& file) {
  return kept.size == log.size && (kept.modified_us == log.modified_us || kept.digest == DigestOf(file));
}

// The lines of a log, up to where it can be read.
class LogLines {
 public:
  explicit LogLines(const std::string& log) : file_(log, std::ios::binary), reader_(file_) {
    if (!file_) throw UsageError("cannot read it; check its rights");
  }
  std::optional<std::string> Next() {
    if (!problem_.empty()) return std::nullopt;
    try {
      const auto frame = reader_.Next();
      if (!frame) return std::nullopt;
      ++frames_;
      return bus::FormatLogLine(*frame, "can0") + '\n';
    } catch (const UsageError& error) {
      problem_ = error.what();
      return std::nullopt;
    }
  }
  std::uint64_t Frames() const { return frames_; }
  const std::string& Problem() const { return problem_; }

 private:
  std::ifstream file_;
  LogReader reader_;
  std::uint64_t frames_ = 0;
  std::string problem_;
};

std::string PageOf(const std::string& log) {
  std::ifstream file(log, std::ios::binary);
  LogReader reader(file);
  try {
    return FindFilmPage(reader);
  } catch (const UsageError&) {  // of a log that is broken within its first seconds; LogLines tells
    return "Main";
  }
}

class TaskRunner {
 public:
  TaskRunner(log_task_t& task, const log_plan_t& plan, const StopSignal& stop)
      : task_(task), plan_(plan), stop_(stop) {}

  void Run() {
    try {
      if (HasFilm()) Compare();
    } catch (const std::exception& error) {
      task_.outcome = outcome_t::FAILED;
      task_.words = std::string("  ") + error.what() + '\n';
    }
  }

 private:
  bool HasFilm();
  bool MakeFilm(log_stamp_t stamp);
  void Compare();

  log_task_t& task_;
  const log_plan_t& plan_;
  const StopSignal& stop_;
};

// False when there is nothing to compare.
bool TaskRunner::HasFilm() {
  const log_stamp_t stamp = StampOf(task_.log);
  if (plan_.resume) {
    const auto kept = ReadFilmResult(task_.result);
    task_.isKept = kept && kept->display == plan_.display && IsSameLog(kept->log, stamp, task_.log);
  }
  return task_.isKept || MakeFilm(stamp);
}

bool TaskRunner::MakeFilm(log_stamp_t stamp) {
  LogLines lines(task_.log);
  auto first = lines.Next();
  if (!first && !lines.Problem().empty()) throw UsageError(lines.Problem());
  if (!first) {
    task_.outcome = outcome_t::NO_LOG;
    return false;
  }
  stamp.digest = DigestOf(task_.log);
  const std::string page = PageOf(task_.log);
  FilmResultWriter result(task_.result, {.log = stamp, .display = plan_.display, .page = page});
  const bool isWhole = RunFilm(
      plan_.film, page, [&] { return first ? std::exchange(first, std::nullopt) : lines.Next(); },
      [&result](std::string_view record) { result.Add(record); }, stop_);
  if (isWhole) result.Finish(lines.Problem());
  return isWhole;
}

void TaskRunner::Compare() {
  task_.outcome = outcome_t::SAME;
  if (task_.before.empty()) return;
  const auto now = ReadFilmResult(task_.result);
  const auto before = ReadFilmResult(task_.before);
  if (!now) throw Failure("cannot read " + task_.result + " again; is the disk full?");
  if (!before) {
    task_.outcome = outcome_t::NEW;
    return;
  }
  if (now->films == before->films) return;
  FilmResultReader beforeFilm(task_.before);
  FilmResultReader nowFilm(task_.result);
  const film_difference_t difference = CompareFilms(beforeFilm, nowFilm);
  if (difference.IsNone()) return;
  task_.outcome = outcome_t::DIFFERS;
  task_.words = DescribeDifference(difference);
  if (before->log.digest != now->log.digest) task_.words += "  the log itself was another one before\n";
}

}  // namespace

void RunTasks(std::vector<log_task_t>& tasks, const log_plan_t& plan, const StopSignal& stop,
              const std::function<void(const log_task_t& task)>& onDone) {
  std::atomic<std::size_t> next = 0;
  std::mutex reporting;  // guards what onDone touches
  const auto work = [&] {
    for (std::size_t number = next++; number < tasks.size() && !stop.Stopped(); number = next++) {
      log_task_t& task = tasks[number];
      TaskRunner(task, plan, stop).Run();
      const std::lock_guard lock(reporting);
      if (task.outcome != outcome_t::WAITS) onDone(task);
    }
  };
  std::vector<std::jthread> workers;
  for (unsigned job = 0; job < plan.jobs; ++job) workers.emplace_back(work);
}

}  // namespace host::log_check
