#include "host/report/packed_text.h"

#include <algorithm>
#include <cstdint>
#include <stdexcept>

#include <zlib.h>

namespace host::report {
namespace {

constexpr std::string_view DIGITS = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr unsigned DIGIT_BITS = 6;
constexpr std::size_t GROUP = 3;  // bytes that four digits carry

std::string Compress(std::string_view text) {
  uLongf size = compressBound(text.size());
  std::string packed(size, '\0');
  // zlib's interface has bytes.
  auto* to = reinterpret_cast<Bytef*>(packed.data());
  const auto* from = reinterpret_cast<const Bytef*>(text.data());
  if (compress2(to, &size, from, text.size(), Z_DEFAULT_COMPRESSION) != Z_OK) {
    throw std::runtime_error("no memory to compress the report");
  }
  packed.resize(size);
  return packed;
}

// One to three bytes as four digits.
void AppendGroup(std::string& text, std::string_view bytes) {
  std::uint32_t bits = 0;
  for (std::size_t i = 0; i < GROUP; ++i) {
    bits = bits << 8U | (i < bytes.size() ? static_cast<std::uint8_t>(bytes[i]) : 0U);
  }
  for (unsigned digit = 0; digit <= GROUP; ++digit) {
    const std::uint32_t value = bits >> (DIGIT_BITS * (3 - digit)) & 0x3FU;
    text += digit <= bytes.size() ? DIGITS[value] : '=';
  }
}

}  // namespace

std::string EncodeBase64(std::string_view bytes) {
  std::string text;
  text.reserve((bytes.size() + 2) / GROUP * 4);
  for (; !bytes.empty(); bytes.remove_prefix(std::min(bytes.size(), GROUP)))
    AppendGroup(text, bytes.substr(0, GROUP));
  return text;
}

std::string PackText(std::string_view text) {
  return EncodeBase64(Compress(text));
}

}  // namespace host::report
