// Asks the front panel of a unit on this machine what its screen shows.
#pragma once

#include <string>

namespace judge {

// An answer, or why there is none.
struct panel_answer_t {
  std::string body;
  std::string problem;  // empty: there is an answer
};

constexpr const char* SHOWN = "/api/shown";     // JSON: what the screen shows, by name
constexpr const char* PICTURE = "/screen.png";  // the screen
constexpr const char* HEALTH = "/api/health";   // JSON: each service and the application

// GET of `path` from the panel at this address. Waits one second at most.
panel_answer_t AskPanel(const std::string& address, const char* path);
// The same from the panel of this process's runtime directory.
panel_answer_t AskPanel(const char* path);

}  // namespace judge
