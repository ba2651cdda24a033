// The signals that end the program. The main loop waits for them; there is no signal handler.
#pragma once

#include <chrono>

namespace unit {

// Blocks SIGINT, SIGTERM, SIGHUP and SIGCHLD for this thread and for those that it starts later, so that only
// StopRequested receives them. Ignores SIGPIPE and SIGXFSZ, so that a reader that is gone and a full file are
// errors of a write. Called before any other thread exists.
void BlockStopSignals();

// Waits at most `time`, or until a child has ended. True when a stop was requested; each request is reported
// once.
bool StopRequested(std::chrono::milliseconds time);
// Requests a stop, as Ctrl-C does. Any thread.
void RequestStop();

}  // namespace unit
