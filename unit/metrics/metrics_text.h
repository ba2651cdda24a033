// The answer of GET /metrics: the text form 0.0.4 of Prometheus.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>

#include "unit/metrics/process_load.h"

namespace unit {

struct metrics_input_t {
  std::string health;                              // the object of GET /api/health
  std::optional<double> hostValuesAge_s;           // empty: the host has sent no values
  std::size_t viewers = 0;                         // of the panel's stream
  std::map<std::string, process_load_t> programs;  // "unit", "orvik", "hx7": those that run
};

std::string FormatMetrics(const metrics_input_t& input);

// The processes that the health names as "process NUMBER" in their detail, by name.
std::map<std::string, pid_t> ProgramsIn(const std::string& health);

}  // namespace unit
