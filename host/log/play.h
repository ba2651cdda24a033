// hx7 play: plays a recorded log on the bus.
#pragma once

#include <string>

namespace host {

struct play_options_t {
  std::string bus = "local";
  std::string file;      // "-": standard input
  std::string keysFile;  // keys.log of the same recording: front keys to press; empty: none
  std::string speed = "1";
  bool loop = false;
  bool quiet = false;
  bool all = false;  // also the frames of the display
};
// Plays until the end of the log or a stop signal. Throws Failure and UsageError.
void PlayFile(const play_options_t& options);

}  // namespace host
