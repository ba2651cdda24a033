// Requests to the front panel of the unit that runs in this runtime directory.
#pragma once

#include <string>

namespace unit {

struct panel_answer_t {
  int status = 0;    // of HTTP; 0: no panel answers
  std::string body;  // with status 0 the reason, and what the user can do

  bool IsDone() const { return status == 200; }
};

// Both block until the answer is there, 3 s at most to connect and 3 s at most for the answer. Any thread.
panel_answer_t GetFromPanel(const std::string& path);
panel_answer_t PostToPanel(const std::string& path, const std::string& body);

// The text for the user in an answer other than 200: the "error" of the panel's JSON, or the whole body.
std::string ProblemIn(const panel_answer_t& answer);

}  // namespace unit
