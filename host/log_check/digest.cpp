#include "host/log_check/digest.h"

#include <array>
#include <cstdio>
#include <fstream>

#include "host/protocol/errors.h"

namespace host::log_check {

void Digest::Add(std::string_view bytes) {
  constexpr std::uint64_t PRIME = 0x100000001B3;
  for (const char byte : bytes) sum_ = (sum_ ^ static_cast<std::uint8_t>(byte)) * PRIME;
}

void Digest::AddFile(const std::string& file) {
  std::ifstream in(file, std::ios::binary);
  std::array<char, 65'536> bytes{};
  if (!in) throw UsageError("cannot read " + file + "; check its rights");
  while (in) {
    in.read(bytes.data(), bytes.size());
    Add({bytes.data(), static_cast<std::size_t>(in.gcount())});
  }
}

std::string Digest::Text() const {
  std::array<char, 17> text{};
  static_cast<void>(std::snprintf(text.data(), text.size(), "%016llx", static_cast<unsigned long long>(sum_)));
  return text.data();
}

}  // namespace host::log_check
