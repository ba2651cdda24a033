// The signals that end the program, waited for instead of handled.
#pragma once

#include <chrono>

namespace unit {

// Blocks SIGINT, SIGTERM, SIGHUP and SIGCHLD for this thread and all that it starts, so that StopRequested
// alone sees them, and ignores SIGPIPE. Called before any thread exists.
void BlockStopSignals();
// Undoes it in a child before it becomes another program.
void UnblockStopSignals();

// Waits at most `time`, or until a child has ended. True when a stop has been asked for; each request counts
// once.
bool StopRequested(std::chrono::milliseconds time);
// Asks for a stop as Ctrl-C does. Any thread.
void RequestStop();

}  // namespace unit
