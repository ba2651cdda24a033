#include "bench/exhaustive/utf8_reference.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace exhaustive {
namespace {

constexpr std::string_view MARK = "\xEF\xBC\x9F";

// Of a lead byte: how many bytes must follow, and the range of the first of them in a valid sequence. An empty
// range: the lead byte begins no valid sequence, whatever follows.
struct rule_t {
  int followers = -1;  // -1: no lead byte
  std::uint8_t low = 1, high = 0;
};

std::array<rule_t, 256> MakeRules() {
  std::array<rule_t, 256> rules{};
  const auto set = [&](std::size_t from, std::size_t to, const rule_t& rule) {
    for (std::size_t byte = from; byte <= to; ++byte) rules.at(byte) = rule;
  };
  set(0x00, 0x7F, {0});
  set(0xC0, 0xC1, {1});
  set(0xC2, 0xDF, {1, 0x80, 0xBF});
  set(0xE0, 0xE0, {2, 0xA0, 0xBF});
  set(0xE1, 0xEC, {2, 0x80, 0xBF});
  set(0xED, 0xED, {2, 0x80, 0x9F});
  set(0xEE, 0xEF, {2, 0x80, 0xBF});
  set(0xF0, 0xF0, {3, 0x90, 0xBF});
  set(0xF1, 0xF3, {3, 0x80, 0xBF});
  set(0xF4, 0xF4, {3, 0x80, 0x8F});
  set(0xF5, 0xF7, {3});
  return rules;
}

std::uint8_t ByteAt(std::string_view text, std::size_t at) {
  return static_cast<std::uint8_t>(text[at]);
}

bool Follows(std::string_view text, std::size_t at) {
  return at < text.size() && ByteAt(text, at) >= 0x80 && ByteAt(text, at) <= 0xBF;
}

bool IsNonCharacter(std::string_view text, std::size_t at) {
  return ByteAt(text, at) == 0xEF && ByteAt(text, at + 1) == 0xBF && ByteAt(text, at + 2) >= 0xBE;
}

// Whether the sequence at `at`, all of whose followers are there, is a character that may stand.
bool IsCharacter(std::string_view text, std::size_t at, const rule_t& rule) {
  if (rule.followers == 0) return true;
  const std::uint8_t second = ByteAt(text, at + 1);
  if (second < rule.low || second > rule.high) return false;
  return rule.followers != 2 || !IsNonCharacter(text, at);
}

}  // namespace

std::string ExpectedRepair(std::string_view text) {
  static const std::array<rule_t, 256> RULES = MakeRules();
  std::string result;
  std::size_t at = 0;
  while (at < text.size()) {
    const rule_t& rule = RULES.at(ByteAt(text, at));
    int present = 0;  // of the followers
    while (present < rule.followers && Follows(text, at + 1 + static_cast<std::size_t>(present))) ++present;
    const std::size_t next = at + 1 + static_cast<std::size_t>(present);
    if (rule.followers < 0) {
      result += MARK;
      ++at;
    } else if (present < rule.followers && next == text.size()) {
      result += MARK;
      result += MARK;
      ++at;
    } else if (present == rule.followers && IsCharacter(text, at, rule)) {
      result += text.substr(at, next - at);
      at = next;
    } else {
      result += MARK;
      for (++at; Follows(text, at);) ++at;
    }
  }
  return result;
}

}  // namespace exhaustive
