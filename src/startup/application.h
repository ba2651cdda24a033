// The run of the display application, from its banner to its exit status.
#pragma once

#include <string>
#include <vector>

#include "src/core/orvik_data.h"

// Blocks SIGUSR1, which then stays pending until RunApplication waits for it, and ignores SIGPIPE. main calls
// it first, so that every thread inherits the block.
void PrepareSignals();

// Starts the application, waits for the request to terminate and shuts down. `arguments` holds the program's
// name and the path of the generic configuration. A record that already has pages keeps them. Returns the exit
// status. When a worker does not stop, ends the process with that status and does not return. Main thread, once
// in a process.
int RunApplication(orvikData_t* data, const std::vector<std::string>& arguments);
