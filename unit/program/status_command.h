// `unit status`: shows which services and programs run in this runtime directory, and their state.
#pragma once

namespace unit {

// Asks the front panel and prints one line for each service, worker and program, or with `asJson` the object of
// GET /api/health. Returns the exit status: 0 when all are up, 1 when one is down or nothing runs.
int ShowStatus(bool asJson);

}  // namespace unit
