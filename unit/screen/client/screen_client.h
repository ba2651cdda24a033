// Requests to the screen service of this runtime directory.
#pragma once

#include <string>

#include "unit/screen/client/screen_requests.h"

namespace unit {

// Sends a request and sets `result` to the document. Without an answer it returns false and sets `result` to
// the problem. Blocks until the answer is there, some 30 ms for a picture.
bool AskScreen(screen_request_t request, std::string& result);

// Writes the picture as PNG. Returns the problem; empty on success.
std::string WriteSnapshot(const std::string& file);

}  // namespace unit
