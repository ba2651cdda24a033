// A display unit that a check starts for one run of a scenario.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "base/children/child_process.h"
#include "host/link/stop_signal.h"

namespace check {

struct desk_plan_t {
  std::string programs;  // the folder of `unit` and `hx7`
  std::string config;    // the configuration's folder
  std::string folder;    // of this run; gets the runtime directory `run` and unit.log
};

// For one thread. Its unit has no host, free ports, and a runtime directory of its own.
class TestDesk {
 public:
  explicit TestDesk(desk_plan_t plan) : plan_(std::move(plan)) {}

  // Starts the unit and waits until its panel says what the screen shows. Returns what went wrong; empty where
  // nothing did, and where `stop` came first.
  std::string Start(const host::StopSignal& stop);
  // What is wrong with the unit or its application now; empty where nothing is.
  std::string FindProblem();
  // Packs a report of the unit into `file`. Returns what went wrong.
  std::string PackBundle(const std::string& file) const;
  void Stop();

  // Starts one of the programs with this desk as its own; its lines go to `outputFile`. Throws
  // std::runtime_error.
  std::unique_ptr<base::ChildProcess> StartProgram(const std::string& name, std::vector<std::string> arguments,
                                                   const std::string& outputFile) const;

  std::string RuntimeFolder() const { return plan_.folder + "/run"; }
  std::string LogFile() const { return plan_.folder + "/unit.log"; }
  // Of the panel; empty while it does not listen.
  std::string Address() const;

 private:
  const desk_plan_t plan_;
  std::unique_ptr<base::ChildProcess> unit_;
};

}  // namespace check
