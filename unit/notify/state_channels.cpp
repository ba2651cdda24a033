#include "unit/notify/state_channels.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "platform/byte_order.h"

#include "src/screenapi/screen_messages.h"

namespace unit {
namespace {

// How many bytes of a message say what it sets. "Show" and "hide" set one thing and have one key.
struct key_rule_t {
  screen_operation_t operation;
  screen_operation_t sameAs;
  std::size_t bytes;
};
constexpr std::size_t HANDLE_AND_OPERATION = SCREEN_ARGUMENTS_AT;
constexpr std::array<key_rule_t, 8> KEY_RULES = {{
    {SCREEN_SET_TEXT, SCREEN_SET_TEXT, HANDLE_AND_OPERATION},
    {SCREEN_MOVE, SCREEN_MOVE, HANDLE_AND_OPERATION},
    {SCREEN_ROTATE, SCREEN_ROTATE, HANDLE_AND_OPERATION},
    {SCREEN_FRAMERATE, SCREEN_FRAMERATE, HANDLE_AND_OPERATION},
    {SCREEN_SHOW, SCREEN_SHOW, HANDLE_AND_OPERATION},
    {SCREEN_HIDE, SCREEN_SHOW, HANDLE_AND_OPERATION},
    {SCREEN_SET_COLOR, SCREEN_SET_COLOR, HANDLE_AND_OPERATION + 4},  // text and background are two things
    {SCREEN_SET_ALTERNATE, SCREEN_SET_ALTERNATE, HANDLE_AND_OPERATION},
}};

}  // namespace

std::string ScreenMessageKey(std::span<const std::uint8_t> payload) {
  if (payload.size() < SCREEN_ARGUMENTS_AT) return {};
  const std::uint32_t operation = platform::LoadLe32(payload, SCREEN_OPERATION_AT);
  const auto* const rule = std::ranges::find(KEY_RULES, operation, &key_rule_t::operation);
  if (rule == KEY_RULES.end() || payload.size() < rule->bytes) return {};
  std::string key(payload.begin(), payload.begin() + static_cast<std::ptrdiff_t>(rule->bytes));
  key[SCREEN_OPERATION_AT] = static_cast<char>(rule->sameAs);
  return key;
}

void KeepStates(Exchange& exchange) {
  exchange.KeepNewest(exchange.RegisterName(SCREEN_CHANNEL_NAME), ScreenMessageKey);
}

}  // namespace unit
