// hx7 play: a recorded log, played on the bus.
#pragma once

#include <string>

namespace host {

struct play_options_t {
  std::string bus = "local";
  std::string file;
  std::string keysFile;  // front keys to press beside it; empty: none
  std::string speed = "1";
  bool loop = false;
  bool quiet = false;
  bool all = false;
};
void PlayFile(const play_options_t& options);

}  // namespace host
