// hx7 simulate: a crane and its host load computer on the bus, by a scenario, by hand or both.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace simulate {

struct simulate_options_t {
  std::string bus = "local";
  std::string scenario;  // a name or a file; empty: a normal lift, or nothing where it is driven by hand
  std::string chart;     // a file; empty: the standard one
  std::string config;    // the configuration's folder; empty: looked for
  std::uint32_t seed = 1;
  std::string speed = "1";
  std::optional<double> secondsOfCrane;
  bool loop = false;
  bool interactive = false;
  std::string http;  // where to listen; empty: nowhere
  bool quiet = false;
  std::string inject;        // names of faults, or "all"; empty: a good host
  double injectRate = 0.05;  // part of the messages that a bad one precedes
};

// Runs until a stop signal, the end of the crane's time or, driven by hand, of the input. Throws host::failure
// and host::UsageError.
void Simulate(const simulate_options_t& options);

// The scenarios that can be named, with what they show, a line each.
std::string ListScenarios(const std::string& config);

}  // namespace simulate
