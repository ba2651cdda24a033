// The application's whole run, from the banner to its exit status.
#pragma once

#include <string>
#include <vector>

#include "src/core/orvik_data.h"

// Blocks SIGUSR1, which then stays pending until RunApplication waits for it, and ignores SIGPIPE. The first
// thing that main does.
void PrepareSignals();

// Starts up, waits for the request to end, and shuts down. `arguments` are the program's name and its one
// argument, the path of the generic configuration. A record that has pages already keeps them. Returns the exit
// status; does not return when a worker hangs, but ends the process with it. Main thread, once a process.
int RunApplication(orvikData_t* data, const std::vector<std::string>& arguments);
