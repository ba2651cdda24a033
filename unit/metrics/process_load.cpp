#include "unit/metrics/process_load.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <system_error>

#include <unistd.h>

namespace unit {
namespace {

constexpr int FIELDS_BEFORE_TIME = 11;  // of /proc/PID/stat, between the name and the time in user mode

std::string ReadText(const std::filesystem::path& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

// The name stands between the first and the last bracket, because it may have brackets itself.
void AddThread(const std::string& stat, process_load_t& load) {
  const std::size_t begin = stat.find('('), end = stat.rfind(')');
  if (begin == std::string::npos || end == std::string::npos || end < begin) return;
  std::istringstream rest(stat.substr(end + 1));
  std::string passed;
  for (int i = 0; i < FIELDS_BEFORE_TIME; ++i) rest >> passed;
  std::uint64_t user = 0, system = 0;
  if (!(rest >> user >> system)) return;
  const auto ticks = static_cast<double>(sysconf(_SC_CLK_TCK));
  load.cpu_s[stat.substr(begin + 1, end - begin - 1)] += static_cast<double>(user + system) / ticks;
}

}  // namespace

std::optional<process_load_t> ReadProcessLoad(pid_t process) {
  const std::filesystem::path folder = "/proc/" + std::to_string(process);
  process_load_t load;
  std::error_code error;
  for (const auto& thread : std::filesystem::directory_iterator(folder / "task", error)) {
    AddThread(ReadText(thread.path() / "stat"), load);
  }
  if (error || load.cpu_s.empty()) return std::nullopt;
  std::uint64_t all = 0, resident = 0;
  std::istringstream(ReadText(folder / "statm")) >> all >> resident;
  load.residentBytes = resident * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
  return load;
}

}  // namespace unit
