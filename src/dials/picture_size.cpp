#include "src/dials/picture_size.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <fstream>

#include "platform/byte_order.h"
#include "platform/paths.h"

#include "src/dials/dials.h"

namespace {

// The signature, then the first chunk's length and type, width and height.
constexpr std::array<std::uint8_t, 8> SIGNATURE = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
constexpr std::array<std::uint8_t, 4> HEADER_TYPE = {'I', 'H', 'D', 'R'};
constexpr std::size_t TYPE_AT = 12;
constexpr std::size_t WIDTH_AT = 16;
constexpr std::size_t HEIGHT_AT = 20;
constexpr std::size_t HEADER_SIZE = 24;
constexpr std::uint32_t LARGEST_SIDE = 16384;

bool IsPng(const std::array<std::uint8_t, HEADER_SIZE>& header) {
  return std::equal(SIGNATURE.begin(), SIGNATURE.end(), header.begin()) &&
         std::equal(HEADER_TYPE.begin(), HEADER_TYPE.end(), header.begin() + TYPE_AT);
}

}  // namespace

int GetPGNSize(const char* path, PGN_dimensions_t* size) {
  *size = {};
  std::ifstream file(platform::ResolveUnitPath(path), std::ios::binary);
  std::array<char, HEADER_SIZE> bytes{};
  if (!file.read(bytes.data(), bytes.size())) return 1;
  std::array<std::uint8_t, HEADER_SIZE> header{};
  std::copy(bytes.begin(), bytes.end(), header.begin());
  const std::uint32_t width = platform::LoadBe32(header, WIDTH_AT);
  const std::uint32_t height = platform::LoadBe32(header, HEIGHT_AT);
  if (!IsPng(header) || width > LARGEST_SIDE || height > LARGEST_SIDE) return 1;
  *size = {static_cast<int>(width), static_cast<int>(height)};
  return 0;
}
