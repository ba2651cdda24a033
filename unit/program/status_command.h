// `unit status`: what runs in this runtime directory and how it is.
#pragma once

namespace unit {

// Asks the front panel and prints one line for each service, worker and program. Returns the exit status: 0
// when all are up, 1 when something is down or nothing runs.
int ShowStatus();

}  // namespace unit
