#include "host/check/free_cores.h"

#include <fstream>
#include <string>
#include <utility>

namespace check {

// The first line of /proc/stat: "cpu" and the ticks of user, nice, system, idle and others (proc(5)).
double FreeCores::Share() {
  constexpr int IDLE = 3;
  std::ifstream file("/proc/stat");
  std::string word;
  file >> word;
  std::uint64_t idle = 0;
  std::uint64_t total = 0;
  std::uint64_t ticks = 0;
  for (int column = 0; file >> ticks; ++column) {
    total += ticks;
    if (column == IDLE) idle = ticks;
  }
  const std::uint64_t idleBefore = std::exchange(idle_, idle);
  const std::uint64_t totalBefore = std::exchange(total_, total);
  if (totalBefore == 0 || total <= totalBefore) return 1;
  return static_cast<double>(idle - idleBefore) / static_cast<double>(total - totalBefore);
}

}  // namespace check
