// The database as the other services of the unit see it.
#pragma once

namespace unit {

// Attaches this process to the parameter database, once however often it is called, waiting at most
// `timeout_ms` for its owner to make it. False when there is none.
bool AttachDatabase(int timeout_ms);

}  // namespace unit
