#include "unit/notify/state_channels.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include "platform/byte_order.h"

#include "src/hostlink/j1939_external.h"
#include "src/screenapi/screen_messages.h"
#include "unit/service/database_change.h"
#include "unit/service/service.h"

namespace unit {
namespace {

// How many bytes of a message say what it sets. "Show" and "hide" set one thing and have one key.
struct key_rule_t {
  screen_operation_t operation;
  screen_operation_t sameAs;
  std::size_t bytes;
  bool isKept = true;
};
constexpr std::size_t HANDLE_AND_OPERATION = SCREEN_ARGUMENTS_AT;
constexpr std::array<key_rule_t, 9> KEY_RULES = {{
    {SCREEN_SET_TEXT, SCREEN_SET_TEXT, HANDLE_AND_OPERATION},
    {SCREEN_MOVE, SCREEN_MOVE, HANDLE_AND_OPERATION},
    {SCREEN_ROTATE, SCREEN_ROTATE, HANDLE_AND_OPERATION},
    {SCREEN_FRAMERATE, SCREEN_FRAMERATE, HANDLE_AND_OPERATION},
    {SCREEN_SHOW, SCREEN_SHOW, HANDLE_AND_OPERATION},
    {SCREEN_HIDE, SCREEN_SHOW, HANDLE_AND_OPERATION},
    {SCREEN_SET_COLOR, SCREEN_SET_COLOR, HANDLE_AND_OPERATION + 4},  // text and background are two things
    {SCREEN_SET_ALTERNATE, SCREEN_SET_ALTERNATE, HANDLE_AND_OPERATION},
    {SCREEN_PROCESS_COMMANDS, SCREEN_PROCESS_COMMANDS, HANDLE_AND_OPERATION, false},
}};

std::string FirstBytes(std::span<const std::uint8_t> payload, std::size_t bytes) {
  return {payload.begin(), payload.begin() + static_cast<std::ptrdiff_t>(bytes)};
}

}  // namespace

state_key_t ScreenMessageKey(std::span<const std::uint8_t> payload) {
  if (payload.size() < SCREEN_ARGUMENTS_AT) return {};
  const std::uint32_t operation = platform::LoadLe32(payload, SCREEN_OPERATION_AT);
  const auto* const rule = std::ranges::find(KEY_RULES, operation, &key_rule_t::operation);
  if (rule == KEY_RULES.end() || payload.size() < rule->bytes) return {};
  state_key_t key{FirstBytes(payload, rule->bytes), rule->isKept, operation == SCREEN_PROCESS_COMMANDS};
  key.name[SCREEN_OPERATION_AT] = static_cast<char>(rule->sameAs);
  return key;
}

state_key_t DatabaseChangeKey(std::span<const std::uint8_t> payload) {
  if (payload.size() != DATABASE_CHANGE_SIZE) return {};
  return {FirstBytes(payload, DATABASE_CHANGE_VALUE_AT)};
}

state_key_t J1939RequestKey(std::span<const std::uint8_t> payload) {
  if (payload.size() <= J1939_NAME_AT) return {};  // a request to send is shorter than one with a name
  const std::uint32_t type = platform::LoadLe32(payload, J1939_TYPE_AT);
  const bool isFilter = type == J1939_SET_FILTER || type == J1939_SET_MULTIPACKET_FILTER;
  return isFilter ? state_key_t{FirstBytes(payload, payload.size()), true} : state_key_t{};
}

bool ScreenNews::Accept(std::span<const std::uint8_t> payload, TimePoint now) {
  const bool isProcessing = payload.size() >= SCREEN_ARGUMENTS_AT &&
                            platform::LoadLe32(payload, SCREEN_OPERATION_AT) == SCREEN_PROCESS_COMMANDS;
  const bool wasRepeated = std::exchange(isRepeated_, isProcessing);
  if (isProcessing && wasRepeated && now < nextSign_) return false;
  if (isProcessing) nextSign_ = now + SIGN_PERIOD;
  return true;
}

void SetStateRules(Exchange& exchange) {
  const int screen = exchange.RegisterName(SCREEN_CHANNEL_NAME);
  const int screenNews = exchange.RegisterName(SCREEN_NEWS_CHANNEL_NAME);
  exchange.SetStateRule(screen, ScreenMessageKey);
  exchange.SetStateRule(screenNews, ScreenMessageKey);
  exchange.SetNewsChannel(screen, screenNews, [news = ScreenNews()](auto payload) mutable {
    return news.Accept(payload, std::chrono::steady_clock::now());
  });
  exchange.SetStateRule(exchange.RegisterName(J1939_CHANNEL_NAME), J1939RequestKey);
  exchange.SetStateRule(exchange.RegisterName(DATABASE_CHANNEL_NAME), DatabaseChangeKey);
}

}  // namespace unit
