// What a process costs, from /proc.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include <sys/types.h>

namespace unit {

struct process_load_t {
  std::map<std::string, double> cpu_s;  // by the thread's name; threads of one name together
  std::uint64_t residentBytes = 0;
};

// Empty where the process has ended.
std::optional<process_load_t> ReadProcessLoad(pid_t process);

}  // namespace unit
