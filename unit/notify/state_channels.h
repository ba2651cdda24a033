// The channels whose messages set a state, so that only the newest message for each part of it matters.
//
// The application sends a widget its text once, when the text changes. A screen service that lost the message,
// or was started later, would show an old text or none for as long as the text stays as it is; one that reads
// more slowly than the application writes would show every text, each too late.
#pragma once

#include <chrono>
#include <cstdint>
#include <span>
#include <string>

#include "unit/notify/exchange.h"

namespace unit {

// The widget and what the message sets of it (layout: src/screenapi/screen_messages.h); kept. "Process
// commands" sets that the application lives, and is not kept: repeated, it would be no sign of life. It stays
// behind the texts that it applies. A message without an operation sets nothing.
state_key_t ScreenMessageKey(std::span<const std::uint8_t> payload);

// The parameter (layout: unit/service/database_change.h). Not kept: who comes later reads the database.
state_key_t DatabaseChangeKey(std::span<const std::uint8_t> payload);

// A receive filter (layout: src/hostlink/j1939_external.h); kept. The application requests its filters once. A
// J1939 service that connects to a new manager later than the application would give it no frame.
state_key_t J1939RequestKey(std::span<const std::uint8_t> payload);

// False for "process commands" after which only further ones come, but for one of them every 100 ms: the
// application sends it a hundred times a second, and to the screen service it is then only a sign of life.
class ScreenNews {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;
  static constexpr std::chrono::milliseconds SIGN_PERIOD{100};

  bool Accept(std::span<const std::uint8_t> payload, TimePoint now);

 private:
  bool isRepeated_ = false;  // the last message was "process commands"
  TimePoint nextSign_{};
};

// Sets the rules of the channels of the screen, of the database and of the J1939 service.
void SetStateRules(Exchange& exchange);

}  // namespace unit
