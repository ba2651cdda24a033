// The programs that run beside the unit as its children.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <sys/types.h>

#include "base/children/child_process.h"
#include "unit/children/lines.h"

namespace unit {

// Where the kernel put the core of a process that ended, as far as its pattern says; empty where there is none.
std::string DescribeCore(pid_t process, const base::ending_t& ending);

// Starts the program `arguments[0]` as the child NAME, whose lines go to `pump` and to `watch`. Throws
// std::runtime_error.
std::unique_ptr<base::ChildProcess> StartChild(const std::string& name,
                                               const std::vector<std::string>& arguments, LinePump& pump,
                                               const std::shared_ptr<LineWatch>& watch);

}  // namespace unit
