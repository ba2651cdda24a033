#include "host/log/film_page.h"

#include <cstdint>

#include "host/protocol/protocol.h"
#include "host/protocol/traffic_decoder.h"

namespace host {

std::string FindFilmPage(LogReader& log) {
  constexpr std::uint64_t SPAN_US = 10'000'000;
  const command_t* const pageRequest = FindCommand("transition");
  TrafficDecoder decoder;
  std::optional<std::uint64_t> begin_us;
  while (const auto frame = log.Next()) {
    if (!begin_us) begin_us = frame->time_us;
    if (frame->time_us > *begin_us + SPAN_US) break;
    const auto message = decoder.Accept(*frame);
    if (message && message->sender == sender_t::HOST && FindCommand(message->bytes) == pageRequest) return "";
  }
  return "Main";
}

}  // namespace host
