#include "host/check/progress.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <iostream>
#include <sstream>

#include <sys/ioctl.h>
#include <unistd.h>

namespace check {
namespace {

std::size_t TerminalWidth() {
  constexpr std::size_t USUAL = 80;
  winsize size{};
  return ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : USUAL;
}

std::string DescribeEnd(const case_t& run, const case_result_t& result) {
  std::ostringstream text;
  text << (result.failures.empty() ? "ok      " : "FAILED  ") << TitleOf(run) << ": " << result.expectations
       << (result.expectations == 1 ? " expectation, " : " expectations, ") << std::fixed
       << std::setprecision(1) << result.seconds << " s\n";
  for (const std::string& failure : result.failures) text << "        " << failure << "\n";
  if (!result.kept.empty()) {
    text << "        picture, logs and bundle: " << result.kept << "\n        again: hx7 check " << run.file
         << " --seed " << run.seed << " --speed " << std::defaultfloat << std::setprecision(6) << run.speed
         << "\n";
  }
  return text.str();
}

}  // namespace

Progress::Progress(std::size_t cases) : live_(::isatty(STDERR_FILENO) == 1), cases_(cases) {}

void Progress::Begin(std::size_t number, const case_t& run) {
  const std::scoped_lock lock(mutex_);
  running_[number].run = run;
}

void Progress::BeginScenario(std::size_t number) {
  const std::scoped_lock lock(mutex_);
  running_[number].begun = Clock::now();
}

void Progress::End(std::size_t number, const case_result_t& result) {
  const std::scoped_lock lock(mutex_);
  const auto found = running_.extract(number);
  if (result.verdict == verdict_t::INTERRUPTED) return;
  ++ended_;
  failed_ += result.failures.empty() ? 0 : 1;
  Clear();
  std::cout << DescribeEnd(found.mapped().run, result) << std::flush;
  Draw();
}

void Progress::Refresh() {
  const std::scoped_lock lock(mutex_);
  Clear();
  Draw();
}

void Progress::Close() {
  const std::scoped_lock lock(mutex_);
  Clear();
}

void Progress::Clear() const {
  if (live_) std::cerr << "\r\x1b[K" << std::flush;
}

void Progress::Draw() const {
  if (!live_) return;
  std::ostringstream text;
  text << "hx7: " << ended_ << " of " << cases_ << " done, " << failed_ << " failed;";
  for (const auto& [number, each] : running_) {
    const double passed = std::chrono::duration<double>(Clock::now() - each.begun).count();
    const double share = each.run.length_s > 0 ? passed * each.run.speed / each.run.length_s : 1;
    text << ' ' << each.run.name << '#' << each.run.seed << ' ';
    if (each.begun == Clock::time_point()) {
      text << "starts";
    } else {
      text << std::lround(std::min(1.0, share) * 100) << '%';
    }
  }
  std::cerr << text.str().substr(0, TerminalWidth() - 1) << std::flush;
}

}  // namespace check
