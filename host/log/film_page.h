// On which page the film of a log begins.
#pragma once

#include <string>

#include "host/log/log_reader.h"

namespace host {

// The argument of `film --page` for this log: "Main" where the host asks for no page in the first ten seconds,
// because the log then begins in the middle of operation; else empty, and the display is switched on. Reads
// from `log` up to there, so the film itself needs the log opened anew. Throws as LogReader does.
std::string FindFilmPage(LogReader& log);

}  // namespace host
