#include "src/text/utf8_text.h"

#include <cstdint>
#include <cstring>

namespace {

// The payload of a continuation byte (0x80 to 0xBF); of any other byte a number of at least 0x40.
std::uint32_t Payload(char c) {
  return static_cast<unsigned char>(c) ^ 0x80U;
}
bool IsPayload(std::uint32_t payload) {
  return payload < 0x40;
}

bool IsCharacterOfThree(std::uint32_t codePoint) {
  const bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
  return codePoint >= 0x800 && !surrogate && codePoint < 0xFFFE;
}

bool IsCharacterOfFour(std::uint32_t codePoint) {
  return codePoint >= 0x10000 && codePoint < 0x110000;
}

// The length of the well-formed sequence at the start of `text`, which is not empty; 0 when there is none.
std::size_t WellFormedSequence(std::string_view text) {
  const std::uint32_t lead = static_cast<unsigned char>(text[0]);
  if (lead < 0x80) return 1;
  if (lead < 0xE0) return lead >= 0xC2 && text.size() > 1 && IsPayload(Payload(text[1])) ? 2 : 0;
  if (text.size() < 3) return 0;
  const std::uint32_t second = Payload(text[1]);
  const std::uint32_t third = Payload(text[2]);
  if (!IsPayload(second | third)) return 0;
  if (lead < 0xF0) return IsCharacterOfThree((lead & 0x0FU) << 12U | second << 6U | third) ? 3 : 0;
  if (lead > 0xF7 || text.size() < 4 || !IsPayload(Payload(text[3]))) return 0;
  return IsCharacterOfFour((lead & 0x07U) << 18U | second << 12U) ? 4 : 0;
}

// Eight characters at a time; the order of the bytes in the word does not matter.
std::size_t CountAsciiWords(std::string_view text) {
  constexpr std::uint64_t NOT_ASCII = 0x8080'8080'8080'8080U;
  std::size_t count = 0;
  for (std::uint64_t word = 0; count + sizeof word <= text.size(); count += sizeof word) {
    std::memcpy(&word, text.data() + count, sizeof word);
    if ((word & NOT_ASCII) != 0) break;
  }
  return count;
}

// The number of bytes before the first ill-formed sequence.
std::size_t WellFormedPrefix(std::string_view text) {
  std::string_view rest = text;
  while (!rest.empty()) {
    rest.remove_prefix(CountAsciiWords(rest));
    // Until the next ASCII character, which may be the first of several.
    for (std::size_t length = 2; length > 1 && !rest.empty(); rest.remove_prefix(length)) {
      length = WellFormedSequence(rest);
      if (length == 0) return text.size() - rest.size();
    }
  }
  return text.size();
}

// The bytes of a sequence that its lead byte promises; 0 when the byte cannot start one.
std::size_t PromisedLength(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead < 0xC0 || lead > 0xF7) return 0;
  if (lead < 0xE0) return 2;
  return lead < 0xF0 ? 3 : 4;
}

std::size_t CountContinuations(std::string_view text) {
  std::size_t count = 0;
  while (count < text.size() && IsPayload(Payload(text[count]))) ++count;
  return count;
}

// Appends the marks of the ill-formed sequence at the start of `rest`. Returns the number of bytes that they
// replace.
std::size_t AppendMarks(std::string_view rest, std::string& repaired) {
  repaired.append(FULLWIDTH_QUESTION_MARK_OCTET);
  const std::size_t promised = PromisedLength(static_cast<unsigned char>(rest.front()));
  if (promised == 0) return 1;
  const std::size_t following = CountContinuations(rest.substr(1));
  if (promised <= rest.size() || following < rest.size() - 1) return 1 + following;
  // Two marks show that the end of the text cut the sequence off; hosts rely on that.
  repaired.append(FULLWIDTH_QUESTION_MARK_OCTET);
  return 1;
}

}  // namespace

void FixUTF8String(std::string& s) {
  std::string_view rest = s;
  std::size_t wellFormed = WellFormedPrefix(rest);
  if (wellFormed == s.size()) return;
  std::string repaired;
  repaired.reserve(2 * s.size());  // a mark takes three bytes, so most texts need no second allocation
  while (wellFormed < rest.size()) {
    repaired.append(rest.substr(0, wellFormed));
    rest.remove_prefix(wellFormed);
    rest.remove_prefix(AppendMarks(rest, repaired));
    wellFormed = WellFormedPrefix(rest);
  }
  repaired.append(rest);
  s = std::move(repaired);
}

void TrimSpaces(std::string& s) {
  constexpr const char* SPACES = " \t";
  const std::size_t last = s.find_last_not_of(SPACES);
  s.erase(last == std::string::npos ? 0 : last + 1);
  s.erase(0, s.find_first_not_of(SPACES));
}
