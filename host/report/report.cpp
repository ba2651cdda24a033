#include "host/report/report.h"

#include <chrono>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <stdexcept>

#include <unistd.h>

#include <nlohmann/json.hpp>

#include "base/call_filter.h"
#include "base/installation.h"
#include "base/json_text.h"
#include "bus/key_log.h"
#include "bus/log_lines.h"
#include "host/link/stop_signal.h"
#include "host/log/film_page.h"
#include "host/protocol/errors.h"
#include "host/protocol/message_lines.h"
#include "host/report/film_process.h"
#include "host/report/log_sequence.h"
#include "host/report/report_file.h"
#include "host/report/screen_chunks.h"
#include "host/report/traffic_report.h"

namespace host::report {
namespace {

using Clock = std::chrono::steady_clock;
using nlohmann::json;

constexpr std::uint64_t US_PER_MS = 1'000;
constexpr std::uint64_t US_PER_SECOND = 1'000'000;
constexpr int SECONDS_PER_MINUTE = 60;
constexpr std::uint64_t LOOK_PERIOD = 4096;  // frames between two looks at the clock and the stop signal

std::vector<bus::key_change_t> ReadKeys(const std::string& file) {
  std::vector<bus::key_change_t> keys;
  if (file.empty()) return keys;
  std::ifstream in(file);
  for (std::string line; std::getline(in, line);) {
    if (const auto change = bus::ParseKeyLine(line)) keys.push_back(*change);
  }
  if (keys.empty()) {
    throw UsageError("the key log " + file + " cannot be read or holds no key; it should have lines such as " +
                     bus::FormatKeyLine({0, 3, true}));
  }
  return keys;
}

std::string NamesOf(const std::vector<std::string>& files) {
  std::string names;
  for (const std::string& file : files) {
    names += (names.empty() ? "" : ", ") + std::filesystem::path(file).filename().string();
  }
  return names;
}

// Minutes east of Greenwich of the local time, by which people name the times of a log.
long ZoneMinutes(std::uint64_t time_us) {
  const auto seconds = static_cast<std::time_t>(time_us / US_PER_SECOND);
  std::tm local{};
  ::localtime_r(&seconds, &local);
  return local.tm_gmtoff / SECONDS_PER_MINUTE;
}

// A line on the terminal that says how far the work is.
class ProgressLine {
 public:
  void Show(double share, std::int64_t time_ms) {
    if (!isShown_ || Clock::now() < next_) return;
    next_ = Clock::now() + std::chrono::milliseconds(250);
    const auto seconds = static_cast<long long>(time_ms / 1000);
    static_cast<void>(std::fprintf(stderr, "\rhx7: %3.0f %%, %lld:%02lld:%02lld of the log ", share * 100,
                                   seconds / 3600, seconds / 60 % 60, seconds % 60));
  }
  void Clear() const {
    if (isShown_) static_cast<void>(std::fputs("\r\033[K", stderr));
  }

 private:
  const bool isShown_ = ::isatty(STDERR_FILENO) != 0;
  Clock::time_point next_{};
};

class ReportMaker {
 public:
  explicit ReportMaker(const report_options_t& options)
      : options_(options),
        logs_(options.logs),
        keys_(ReadKeys(options.keysFile)),
        title_(options.title.empty() ? NamesOf(options.logs) : options.title),
        file_(options.output, title_),
        screen_(file_),
        traffic_(file_) {}
  report_outcome_t Run();

 private:
  // Returns false when a signal stopped it.
  bool ReadLogs(FilmProcess& film);
  void AcceptFrame(const bus::frame_t& frame, FilmProcess& film);
  void AcceptKeysUntil(std::uint64_t time_us, FilmProcess& film);
  void Finish(const std::string& filmProblem);
  void AddHead(json& index) const;
  void AddNotes(json& notes, const std::string& filmProblem);
  // A recorder's clock that was set back stands still in the report, as it does in the film.
  std::int64_t TimeOf(std::uint64_t time_us);

  const report_options_t& options_;
  const StopSignal stop_;
  LogSequence logs_;
  const std::vector<bus::key_change_t> keys_;
  std::size_t nextKey_ = 0;
  const std::string title_;
  ReportFile file_;
  ScreenChunks screen_;  // until the film has ended, of its reading thread
  TrafficReport traffic_;
  std::int64_t now_ms_ = 0;
  bool beginsInOperation_ = false;
};

std::int64_t ReportMaker::TimeOf(std::uint64_t time_us) {
  const std::uint64_t since_us = time_us - std::min(time_us, logs_.Begin_us());
  now_ms_ = std::max(now_ms_, static_cast<std::int64_t>(since_us / US_PER_MS));
  return now_ms_;
}

// Key changes before the first frame are left out: the film begins with it.
void ReportMaker::AcceptKeysUntil(std::uint64_t time_us, FilmProcess& film) {
  for (; nextKey_ < keys_.size() && keys_[nextKey_].time_us <= time_us; ++nextKey_) {
    const bus::key_change_t& key = keys_[nextKey_];
    if (key.time_us < logs_.Begin_us()) continue;
    traffic_.Accept(key, TimeOf(key.time_us));
    film.Write(bus::FormatKeyLine(key), now_ms_);
  }
}

void ReportMaker::AcceptFrame(const bus::frame_t& frame, FilmProcess& film) {
  AcceptKeysUntil(frame.time_us, film);
  const std::int64_t time_ms = TimeOf(frame.time_us);
  film.Write(bus::FormatLogLine(frame, "can0"), time_ms);
  traffic_.Accept(frame, time_ms);
}

bool ReportMaker::ReadLogs(FilmProcess& film) {
  ProgressLine progress;
  for (std::uint64_t frames = 0; const auto frame = logs_.Next(); ++frames) {
    AcceptFrame(*frame, film);
    if (frames % LOOK_PERIOD != 0) continue;
    if (stop_.Stopped()) break;
    progress.Show(logs_.Share(), now_ms_);
  }
  progress.Clear();
  return !stop_.Stopped();
}

report_outcome_t ReportMaker::Run() {
  const log_beginning_t beginning = logs_.LookAhead();
  beginsInOperation_ = !beginning.asksForPage;
  if (beginning.units) traffic_.NoteUnits(*beginning.units);
  FilmProcess film({options_.config, FilmPage(!beginsInOperation_)},
                   [this](std::string_view record) { screen_.Accept(record); });
  base::KeepRights("hx7", base::RIGHT_WRITE);  // no other program is started
  if (!ReadLogs(film)) {
    std::cerr << "hx7: stopped; no report was written\n";
    return report_outcome_t::STOPPED;
  }
  const std::string problem = film.Finish();
  Finish(problem);
  return problem.empty() ? report_outcome_t::WHOLE : report_outcome_t::WITHOUT_SCREEN;
}

void ReportMaker::AddHead(json& index) const {
  index["title"] = title_;
  index["logs"] = NamesOf(options_.logs);
  index["begin"] = logs_.Begin_us() / US_PER_MS;
  index["zone"] = ZoneMinutes(logs_.Begin_us());
  index["end"] = now_ms_;
  index["kinds"] = json::array();
  for (const curve_kind_t& curve : CURVES)
    index["kinds"].push_back({{"name", curve.name}, {"scale", curve.scale}});
}

void ReportMaker::AddNotes(json& notes, const std::string& filmProblem) {
  if (beginsInOperation_) {
    notes.push_back(
        "The log begins in the middle of operation: the host asks for no page in its first ten seconds. The "
        "screen "
        "begins on the operating page, with the values that come after.");
  }
  if (traffic_.TakesUnits()) {
    notes.push_back(
        "The host does not set its units in the first ten seconds. Until it does, they count as pounds and "
        "feet, "
        "as on a "
        "display that was just switched on.");
  }
  if (!filmProblem.empty()) {
    notes.push_back(
        "The screen, the page, the beeper and lost links are known until " +
        FormatTimeOfDay(logs_.Begin_us() + static_cast<std::uint64_t>(screen_.End_ms()) * US_PER_MS) +
        " only: " + filmProblem + ". All else comes from the log.");
  }
  if (logs_.Skipped() > 0) {
    notes.push_back(std::to_string(logs_.Skipped()) + " lines of the log hold no frame and were passed over.");
  }
}

void ReportMaker::Finish(const std::string& filmProblem) {
  json index;
  AddHead(index);
  index["notes"] = json::array();
  AddNotes(index["notes"], filmProblem);
  const std::int64_t filmEnd_ms = filmProblem.empty() ? now_ms_ : screen_.End_ms();
  index["filmEnd"] = filmEnd_ms;
  index["screens"] = screen_.Finish();
  index["bands"] = screen_.Bands().Finish(filmEnd_ms);
  index["figures"]["lostLinks"] = SpanFigures(screen_.Bands().Spans("link"));
  traffic_.Finish(now_ms_, index);
  file_.Finish(base::DumpJson(index));
  if (!filmProblem.empty()) std::cerr << "hx7: " << filmProblem << "; the report says so\n";
  std::cout << options_.output << ": " << traffic_.Frames() << " frames, " << file_.Size() / 1000 << " kB\n";
}

}  // namespace

report_outcome_t MakeReport(report_options_t options) {
  try {
    options.config = base::FindConfigFolder(options.config);
  } catch (const std::runtime_error& error) {
    throw UsageError(error.what());
  }
  return ReportMaker(options).Run();
}

}  // namespace host::report
