// hx7 play --check: says whether a log can be played, before anything is started for it.
#pragma once

#include <string>

namespace host {

// Reads the log up to its first frame. Throws UsageError for a log that cannot be read or holds no frame.
void CheckLog(const std::string& file);

}  // namespace host
