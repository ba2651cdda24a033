// Compares the repair of host text with an independent reference, for every short sequence of bytes.
#include <array>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <string_view>

#include "bench/exhaustive/exhaustive_options.h"
#include "bench/exhaustive/utf8_reference.h"
#include "src/text/utf8_text.h"

namespace exhaustive {
namespace {

std::string Hex(std::string_view text) {
  std::string result;
  for (const char c : text) {
    std::array<char, 4> byte{};
    static_cast<void>(std::snprintf(byte.data(), byte.size(), "%02X", static_cast<unsigned char>(c)));
    result += (result.empty() ? "" : " ") + std::string(byte.data());
  }
  return result;
}

void Compare(const std::string& text, const report_t& report) {
  std::string got = text;
  FixUTF8String(got);
  const std::string expected = ExpectedRepair(text);
  if (got != expected) report({Hex(text), Hex(expected), Hex(got)});
}

// The lowest bytes of the number, `length` of them.
std::string BytesOf(std::uint64_t number, std::size_t length) {
  std::string bytes(length, '\0');
  for (std::size_t i = 0; i < length; ++i) bytes[i] = static_cast<char>(number >> (8U * i));
  return bytes;
}

// Both ends of every range that a rule of UTF-8 names, and the bytes beside them.
constexpr std::array<std::uint8_t, 37> EDGES = {0x00, 0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xA1, 0xBD,
                                                0xBE, 0xBF, 0xC0, 0xC1, 0xC2, 0xDE, 0xDF, 0xE0, 0xE1, 0xEC,
                                                0xED, 0xEE, 0xEF, 0xF0, 0xF1, 0xF2, 0xF3, 0xF4, 0xF5, 0xF6,
                                                0xF7, 0xF8, 0xFB, 0xFC, 0xFD, 0xFE, 0xFF};

std::string EdgesOf(std::uint64_t number, std::size_t length) {
  std::string bytes(length, '\0');
  for (char& byte : bytes) {
    byte = static_cast<char>(EDGES.at(number % EDGES.size()));
    number /= EDGES.size();
  }
  return bytes;
}

std::uint64_t EdgeCases(std::size_t length) {
  std::uint64_t cases = 1;
  for (std::size_t i = 0; i < length; ++i) cases *= EDGES.size();
  return cases;
}

// Characters of one to four bytes, and one that is broken by itself.
const std::string LONGER_TEXT = "A\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x9A\x9C\xED\xA0\x80z";

using make_bytes_t = std::string (*)(std::uint64_t number, std::size_t length);

// The bytes alone.
check_t Alone(const std::string& name, make_bytes_t make, std::size_t length, std::uint64_t cases) {
  return {name, cases, [=](std::uint64_t first, std::uint64_t last, const report_t& report) {
            for (std::uint64_t number = first; number < last; ++number) Compare(make(number, length), report);
          }};
}

// The bytes put in at every place of the longer text, also inside its characters.
check_t Inside(const std::string& name, make_bytes_t make, std::size_t length, std::uint64_t cases) {
  return {name, cases * (LONGER_TEXT.size() + 1),
          [=](std::uint64_t first, std::uint64_t last, const report_t& report) {
            for (std::uint64_t number = first; number < last; ++number) {
              const std::size_t at = number % (LONGER_TEXT.size() + 1);
              std::string text = LONGER_TEXT;
              text.insert(at, make(number / (LONGER_TEXT.size() + 1), length));
              Compare(text, report);
            }
          }};
}

check_t Sampled(const check_t& check, const proof_options_t& options) {
  if (check.cases <= options.sample) return check;
  return {check.name, options.sample,
          [=, sample = DrawSample(check.cases, options.sample, options.seed)](
              std::uint64_t first, std::uint64_t last, const report_t& report) {
            for (std::uint64_t i = first; i < last; ++i) check.run(sample.at(i), sample.at(i) + 1, report);
          }};
}

std::vector<check_t> MakeChecks(const proof_options_t& options) {
  std::vector<check_t> checks;
  for (const std::size_t length : {1U, 2U, 3U, 4U}) {
    const std::uint64_t cases = std::uint64_t(1) << (8U * length);
    const std::string bytes = std::to_string(length) + (length == 1 ? "-byte" : "-bytes");
    checks.push_back(Alone(bytes, BytesOf, length, cases));
    if (length < 4) checks.push_back(Inside(bytes + "-in-a-text", BytesOf, length, cases));
  }
  checks.push_back(Inside("4-edge-bytes-in-a-text", EdgesOf, 4, EdgeCases(4)));
  checks.push_back(Alone("5-edge-bytes", EdgesOf, 5, EdgeCases(5)));
  if (options.sample == 0) return checks;
  for (check_t& check : checks) check = Sampled(check, options);
  return checks;
}

}  // namespace
}  // namespace exhaustive

int main(int argc, char** argv) {
  return exhaustive::RunProof(argc, argv, "Compares the repair of every short sequence of bytes with its rules",
                              exhaustive::MakeChecks);
}
