#include "unit/j1939/socketcand_session.h"

#include <algorithm>
#include <charconv>

#include "bus/bus_token.h"
#include "bus/socketcand_text.h"

namespace unit {
namespace {

constexpr const char* OK = "< ok >";

std::string_view TakeWord(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
  const std::string_view word = text.substr(0, text.find_first_of(" \t\r\n"));
  text.remove_prefix(word.size());
  return word;
}

}  // namespace

struct SocketcandSession::session_command_t {
  std::string_view word;
  bool needsBus;
  outcome_t (SocketcandSession::*carry)(std::string_view message, std::string_view argument);
};

const SocketcandSession::session_command_t SocketcandSession::COMMANDS[] = {
    {"token", false, &SocketcandSession::Token},    {"open", false, &SocketcandSession::Open},
    {"rawmode", true, &SocketcandSession::RawMode}, {"bcmmode", true, &SocketcandSession::BroadcastMode},
    {"echo", false, &SocketcandSession::Echo},      {"statistics", true, &SocketcandSession::Statistics},
    {"send", true, &SocketcandSession::Send},
};

SocketcandSession::outcome_t SocketcandSession::Accept(std::string_view message) {
  std::string_view inner = message;
  if (inner.starts_with('<')) inner.remove_prefix(1);
  if (inner.ends_with('>')) inner.remove_suffix(1);
  const std::string_view word = TakeWord(inner);
  const auto* command = std::ranges::find(COMMANDS, word, &session_command_t::word);
  if (command == std::end(COMMANDS)) return Refuse("unknown command");
  if (command->needsBus && !open_) return Refuse("no bus open");
  return (this->*command->carry)(message, TakeWord(inner));
}

// A wrong token ends the session, so that guessing costs a connection each time.
SocketcandSession::outcome_t SocketcandSession::Token(std::string_view /*message*/, std::string_view argument) {
  trusted_ = trusted_ || bus::IsSameToken(token_, argument);
  return trusted_ ? outcome_t{OK, {}} : RefuseToGoOn("wrong token");
}

SocketcandSession::outcome_t SocketcandSession::Open(std::string_view /*message*/, std::string_view argument) {
  if (!trusted_) return RefuseToGoOn("token required");
  if (argument != BUS_NAME) return Refuse("could not open bus");
  open_ = true;
  return {OK, {}};
}

SocketcandSession::outcome_t SocketcandSession::RawMode(std::string_view /*message*/,
                                                        std::string_view /*argument*/) {
  raw_ = true;
  return {OK, {}};
}

// The mode in which a bus is opened: a station receives only the frames that it subscribes to, and this server
// has no subscriptions.
SocketcandSession::outcome_t SocketcandSession::BroadcastMode(std::string_view /*message*/,
                                                              std::string_view /*argument*/) {
  raw_ = false;
  return {OK, {}};
}

SocketcandSession::outcome_t SocketcandSession::Echo(std::string_view message, std::string_view /*argument*/) {
  return {std::string(message), {}};
}

SocketcandSession::outcome_t SocketcandSession::Statistics(std::string_view /*message*/,
                                                           std::string_view argument) {
  unsigned period_ms = 0;
  const char* end = argument.data() + argument.size();
  const auto [stop, error] = std::from_chars(argument.data(), end, period_ms);
  if (error != std::errc() || stop != end || period_ms > 3'600'000) return Refuse("bad statistics interval");
  statistics_ = std::chrono::milliseconds(period_ms);
  if (period_ms > 0) statistics_ = std::max(statistics_, SHORTEST_STATISTICS);
  return {};  // the statistics are the reply
}

SocketcandSession::outcome_t SocketcandSession::Send(std::string_view message, std::string_view /*argument*/) {
  std::optional<bus::frame_t> frame = bus::ParseSocketcandSend(message);
  if (!frame) return Refuse("not a frame");
  return {{}, frame};
}

SocketcandSession::outcome_t SocketcandSession::Refuse(std::string_view why) {
  ++refused_;
  return {"< error " + std::string(why) + " >", {}};
}

SocketcandSession::outcome_t SocketcandSession::RefuseToGoOn(std::string_view why) {
  outcome_t outcome = Refuse(why);
  outcome.ends = true;
  return outcome;
}

}  // namespace unit
