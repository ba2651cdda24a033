// On which page the film of a log begins.
#pragma once

#include <cstdint>
#include <string>

#include "host/log/log_reader.h"
#include "host/protocol/traffic_decoder.h"

namespace host {

// A host that was switched on asks for a page within this time of the log's first frame. A log without such a
// request begins in the middle of operation.
constexpr std::uint64_t FILM_LOOK_US = 10'000'000;

// Whether the host asks for a page in this message.
bool AsksForPage(const bus_message_t& message);
// The argument of `film --page`: "Main" for a log that begins in the middle of operation; else empty, and the
// display is switched on.
std::string FilmPage(bool asksForPage);
// The same for a log that nothing was read from. Reads up to where it is decided, so the film itself needs the
// log opened anew. Throws as LogReader does.
std::string FindFilmPage(LogReader& log);

}  // namespace host
