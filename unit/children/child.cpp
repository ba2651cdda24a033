#include "unit/children/child.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <utility>

#include <sys/wait.h>

namespace unit {

std::string DescribeCore(pid_t process, const base::ending_t& ending) {
  if (!ending.IsCrash() || !WCOREDUMP(ending.status)) return {};
  std::string pattern;
  std::getline(std::ifstream("/proc/sys/kernel/core_pattern") >> std::ws, pattern);
  if (pattern.starts_with('|')) return "its core went to " + pattern.substr(1, pattern.find(' ') - 1);
  if (const auto at = pattern.find("%p"); at != std::string::npos) {
    pattern.replace(at, 2, std::to_string(process));
  }
  return "its core is " + (std::filesystem::current_path() / pattern).string();
}

std::unique_ptr<base::ChildProcess> StartChild(const std::string& name,
                                               const std::vector<std::string>& arguments, LinePump& pump,
                                               const std::shared_ptr<LineWatch>& watch) {
  base::pipe_t out = base::MakePipe();
  base::pipe_t err = base::MakePipe();
  auto child = std::make_unique<base::ChildProcess>(
      base::child_plan_t{.arguments = arguments, .output = out.writing.Get(), .errors = err.writing.Get()});
  pump.Add(std::move(out.reading), name, stdout, watch);
  pump.Add(std::move(err.reading), name, stderr, watch);
  return child;
}

}  // namespace unit
