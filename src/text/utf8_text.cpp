#include "src/text/utf8_text.h"

#include <array>
#include <cstdint>

namespace {

// The properties of a sequence that follow from its lead byte.
struct lead_t {
  std::size_t length;      // bytes of the whole sequence; 0 when this byte cannot start one
  std::uint32_t bits;      // bits of the code point in the lead byte
  std::uint32_t smallest;  // a smaller code point makes the sequence overlong
};

lead_t ReadLead(unsigned char c) {
  if (c < 0x80) return {1, c, 0};
  if ((c & 0xE0U) == 0xC0) return {2, c & 0x1FU, 0x80};
  if ((c & 0xF0U) == 0xE0) return {3, c & 0x0FU, 0x800};
  if ((c & 0xF8U) == 0xF0) return {4, c & 0x07U, 0x10000};
  return {0, 0, 0};
}

bool IsContinuation(char c) {
  return (static_cast<unsigned char>(c) & 0xC0U) == 0x80;
}

bool IsValidCodePoint(std::uint32_t codePoint, std::uint32_t smallest) {
  const bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
  const bool nonCharacter = codePoint == 0xFFFE || codePoint == 0xFFFF;
  return codePoint >= smallest && codePoint < 0x110000 && !surrogate && !nonCharacter;
}

// Whether a complete sequence encodes a valid code point.
bool IsWellFormed(std::string_view sequence, const lead_t& lead) {
  std::uint32_t codePoint = lead.bits;
  for (const char c : sequence.substr(1)) {
    if (!IsContinuation(c)) return false;
    codePoint = (codePoint << 6U) | (static_cast<unsigned char>(c) & 0x3FU);
  }
  return IsValidCodePoint(codePoint, lead.smallest);
}

std::size_t CountContinuations(std::string_view text) {
  std::size_t count = 0;
  while (count < text.size() && IsContinuation(text[count])) ++count;
  return count;
}

// Appends the repaired form of the first sequence of `rest`. Returns the number of bytes of `rest` that it
// replaces.
std::size_t AppendRepaired(std::string_view rest, std::string& repaired) {
  const lead_t lead = ReadLead(static_cast<unsigned char>(rest.front()));
  if (lead.length == 0) {
    repaired.append(FULLWIDTH_QUESTION_MARK_OCTET);
    return 1;
  }
  const std::size_t following = CountContinuations(rest.substr(1));
  const bool tooShort = lead.length > rest.size();
  if (tooShort && following == rest.size() - 1) {
    // Two marks show that the end of the text cut the sequence off; hosts rely on that.
    repaired.append(FULLWIDTH_QUESTION_MARK_OCTET).append(FULLWIDTH_QUESTION_MARK_OCTET);
    return 1;
  }
  if (tooShort || !IsWellFormed(rest.substr(0, lead.length), lead)) {
    repaired.append(FULLWIDTH_QUESTION_MARK_OCTET);
    return 1 + following;
  }
  repaired.append(rest.substr(0, lead.length));
  return lead.length;
}

}  // namespace

void FixUTF8String(std::string& s) {
  std::string repaired;
  repaired.reserve(s.size());
  std::string_view rest = s;
  while (!rest.empty()) rest.remove_prefix(AppendRepaired(rest, repaired));
  s = std::move(repaired);
}

void TrimSpaces(std::string& s) {
  constexpr const char* SPACES = " \t";
  const std::size_t last = s.find_last_not_of(SPACES);
  s.erase(last == std::string::npos ? 0 : last + 1);
  s.erase(0, s.find_first_not_of(SPACES));
}
