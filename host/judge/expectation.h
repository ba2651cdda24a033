// One expectation of a scenario: what the display has to show, or to reply on the bus, and by when.
//
//   load "12,300" within 1          the screen, in the words of expect/ (see docs/simulator.md)
//   no lamp overload
//   reply key-state key=info        a reply of the display, as `hx7 watch` words it
//   picture overload.png            the whole screen, beside the scenario
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "expect/expectation.h"
#include "host/protocol/decode.h"

namespace judge {

constexpr std::int64_t USUAL_WITHIN_MS = 2000;

struct wanted_reply_t {
  std::string request;  // such as key-state
  std::vector<std::pair<std::string, std::string>>
      values;  // name and words; the name is empty for the only one
};

struct wanted_picture_t {
  std::string file;  // a name without a folder
};

struct expectation_t {
  std::string words;  // as they were written, without the time
  std::variant<expect::Expectation, wanted_reply_t, wanted_picture_t> wanted;
  std::int64_t within_ms = USUAL_WITHIN_MS;
};

// Reads the words after `expect`; texts keep their quotes. Throws host::UsageError, which says what would be
// right.
expectation_t ParseExpectation(std::span<const std::string> words);

// Whether a message that the display sent is this reply.
bool IsReply(const wanted_reply_t& wanted, const host::decoded_t& message);

}  // namespace judge
