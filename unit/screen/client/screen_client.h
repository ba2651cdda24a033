// Asks the running screen service of this runtime directory.
#pragma once

#include <string>

#include "unit/screen/client/screen_requests.h"

namespace unit {

// Asks the screen service of this runtime directory. False and what is wrong in `result` when there is no
// answer. Blocks for the answer, some 30 ms for a picture.
bool AskScreen(screen_request_t request, std::string& result);

// Asks for the picture and writes it as PNG. Empty on
// success, else what went wrong.
std::string SaveSnapshot(const std::string& file);

}  // namespace unit
