// The program `film` as a child process: takes the lines of a log and tells what the display showed.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "host/link/stop_signal.h"

namespace host::log_check {

struct film_program_t {
  std::string program;
  std::string configFolder;
  std::string tempFolder;  // for its own files; the caller removes what a killed film leaves there
};

// The next line of the log, with its end; empty: no more.
using next_line_t = std::function<std::optional<std::string>()>;
// A record of the film, without the line's end.
using on_film_line_t = std::function<void(std::string_view record)>;

// Runs a film that begins on `page` (empty: the display is switched on). Any thread; it calls both functions on
// the calling thread. Returns false when the stop came first. Throws Failure when the film cannot be started,
// fails, or does not go on for two minutes.
bool RunFilm(const film_program_t& film, const std::string& page, const next_line_t& nextLine,
             const on_film_line_t& onLine, const StopSignal& stop);

}  // namespace host::log_check
