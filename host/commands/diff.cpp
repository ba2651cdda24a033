#include "host/commands/diff.h"

#include <fstream>
#include <iostream>

#include "host/protocol/errors.h"
#include "host/shown/diff_lines.h"
#include "host/shown/shown_diff.h"

namespace host {
namespace {

std::ifstream OpenLog(const std::string& name) {
  std::ifstream file(name);
  if (!file) throw UsageError("cannot read the log " + name + "; check its name and its rights");
  return file;
}

class LogComparison {
 public:
  explicit LogComparison(const diff_options_t& options)
      : options_(options),
        files_{OpenLog(options.a), OpenLog(options.b)},
        logs_{ShownLog(files_[0]), ShownLog(files_[1])} {}
  bool Run();

 private:
  ShownDiff::Source Source(std::size_t side);
  void Print(const difference_t& difference) const;
  void Summarise() const;

  const diff_options_t& options_;
  std::array<std::ifstream, SIDES> files_;
  std::array<ShownLog, SIDES> logs_;
  std::array<std::uint64_t, SIDES> states_{};
  std::uint64_t differences_ = 0;
};

ShownDiff::Source LogComparison::Source(std::size_t side) {
  return [this, side] {
    auto next = logs_[side].Next();
    if (next) ++states_[side];
    return next;
  };
}

void LogComparison::Print(const difference_t& difference) const {
  if (options_.limit > 0 && differences_ > options_.limit) return;
  std::cout << (options_.json ? FormatDifferenceJson(difference) + "\n" : FormatDifference(difference));
}

void LogComparison::Summarise() const {
  std::cout.flush();
  if (options_.limit > 0 && differences_ > options_.limit) {
    std::cerr << "hx7: " << differences_ - options_.limit << " more differences; --limit 0 prints them all\n";
  }
  std::cerr << "hx7: A: " << logs_[0].Frames() << " frames, " << states_[0]
            << " states; B: " << logs_[1].Frames() << " frames, " << states_[1]
            << " states; differences: " << differences_ << '\n';
}

bool LogComparison::Run() {
  ShownDiff diff(Source(0), Source(1));
  while (const auto difference = diff.Next()) {
    ++differences_;
    Print(*difference);
  }
  for (std::size_t side = 0; side < SIDES; ++side) {
    if (logs_[side].Frames() == 0)
      throw UsageError((side == 0 ? options_.a : options_.b) +
                       " holds no frame; `hx7 play --help` names the kinds of logs that hx7 reads");
  }
  Summarise();
  return differences_ == 0;
}

}  // namespace

bool Diff(const diff_options_t& options) {
  return LogComparison(options).Run();
}

}  // namespace host
