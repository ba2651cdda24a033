// The commands of hx7 with their options. Each runs to its end or a stop signal, prints what it found on
// standard output and what befell it on standard error, and throws failure or usage_error.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace host {

struct send_options_t {
  std::string bus = "local";
  bool neutral = false;    // begin with neutral values instead of those sent last
  double timeout_s = 1.0;  // for the display's answer
  std::vector<std::string> arguments;
};
void Send(const send_options_t& options);

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

struct watch_options_t {
  std::string bus = "local";
  std::string file;  // empty: the live bus
  bool json = false;
  bool changes = false;  // only messages that differ from the last of their kind
  std::optional<double> seconds;
};
void Watch(const watch_options_t& options);

struct record_options_t {
  std::string bus = "local";
  std::string file;
  bool force = false;  // replace a file that exists
  std::optional<double> seconds;
};
void Record(const record_options_t& options);

struct diff_options_t {
  std::string a;
  std::string b;
  bool json = false;
  std::uint64_t limit = 20;  // differences that are printed; 0: all
};
// True where the display shows the same in both logs. Throws usage_error where one cannot be read, so that
// status 1 means a difference and nothing else.
bool Diff(const diff_options_t& options);

}  // namespace host
