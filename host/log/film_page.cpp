#include "host/log/film_page.h"

#include <optional>

namespace host {

bool AsksForPage(const bus_message_t& message) {
  return message.sender == sender_t::HOST && message.decoded.problem.empty() &&
         message.decoded.name == "transition";
}

std::string FilmPage(bool asksForPage) {
  return asksForPage ? "" : "Main";
}

std::string FindFilmPage(LogReader& log) {
  TrafficDecoder decoder;
  std::optional<std::uint64_t> begin_us;
  while (const auto frame = log.Next()) {
    if (!begin_us) begin_us = frame->time_us;
    if (frame->time_us > *begin_us + FILM_LOOK_US) break;
    const auto message = decoder.Accept(*frame);
    if (message && AsksForPage(*message)) return FilmPage(true);
  }
  return FilmPage(false);
}

}  // namespace host
