// hx7 simulate: runs a crane and its host load computer on the bus, by a scenario, by hand or both.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace simulate {

struct simulate_options_t {
  std::string bus = "local";
  std::string scenario;  // a name or a file; empty: a normal lift, or with `interactive` no scenario
  std::string chart;     // a file; empty: the standard one
  std::string config;    // the configuration folder; empty: base::FindConfigFolder finds it
  std::uint32_t seed = 1;
  std::string speed = "1";
  std::optional<double> secondsOfCrane;
  bool loop = false;
  bool untilDone = false;  // end with the scenario's last line and its expectations
  bool interactive = false;
  std::string http;  // address to listen at; empty: none
  bool quiet = false;
  std::string inject;        // names of faults, or "all"; empty: none
  double injectRate = 0.05;  // fraction of the messages that a faulty one precedes
  bool once = false;         // plays the scenario once, and ends when its last expectation is decided
  bool ignoreExpectations = false;
  bool writePictures = false;  // of `expect picture`, instead of comparing them
  std::string results;         // a folder for how the expectations came out; empty: none
};

// Reads the scenario, the chart and the other options as Simulate does, and does nothing with them. Throws
// host::UsageError.
void CheckSimulation(const simulate_options_t& options);

// Runs until a stop signal, the end of `secondsOfCrane`, with `interactive` the end of the input, or with
// `once` or `untilDone` the end of the scenario. Returns one of base::exit_status_t: failed where an
// expectation failed of a scenario that does not repeat, interrupted where a stop signal came before the end
// with `once`. Throws host::Failure and host::UsageError.
int Simulate(const simulate_options_t& options);

// The named scenarios with what they show, one on each line.
std::string ListScenarios(const std::string& config);

}  // namespace simulate
