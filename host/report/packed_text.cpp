#include "host/report/packed_text.h"

#include <cstdint>
#include <span>
#include <stdexcept>
#include <vector>

#include <zlib.h>

namespace host::report {
namespace {

constexpr std::string_view DIGITS = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr unsigned DIGIT_BITS = 6;
constexpr std::size_t GROUP = 3;  // bytes that four digits carry

std::vector<std::uint8_t> Compress(std::string_view text) {
  uLongf size = compressBound(text.size());
  std::vector<std::uint8_t> packed(size);
  const std::vector<std::uint8_t> plain(text.begin(), text.end());
  if (compress2(packed.data(), &size, plain.data(), plain.size(), Z_DEFAULT_COMPRESSION) != Z_OK) {
    throw std::runtime_error("no memory to compress the report");
  }
  packed.resize(size);
  return packed;
}

// One to three bytes as four digits.
void AppendGroup(std::string& text, std::span<const std::uint8_t> bytes) {
  std::uint32_t bits = 0;
  for (std::size_t i = 0; i < GROUP; ++i) bits = bits << 8U | (i < bytes.size() ? bytes[i] : 0U);
  for (unsigned digit = 0; digit <= GROUP; ++digit) {
    const std::uint32_t value = bits >> (DIGIT_BITS * (3 - digit)) & 0x3FU;
    text += digit <= bytes.size() ? DIGITS[value] : '=';
  }
}

}  // namespace

std::string PackText(std::string_view text) {
  const std::vector<std::uint8_t> packed = Compress(text);
  std::string base64;
  base64.reserve((packed.size() + 2) / GROUP * 4);
  for (std::span<const std::uint8_t> rest = packed; !rest.empty();) {
    const auto group = rest.first(std::min(rest.size(), GROUP));
    AppendGroup(base64, group);
    rest = rest.subspan(group.size());
  }
  return base64;
}

}  // namespace host::report
