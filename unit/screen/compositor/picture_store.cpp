#include "unit/screen/compositor/picture_store.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

#include <glib.h>

#include "platform/byte_order.h"
#include "platform/paths.h"

namespace unit {
namespace {

// Cut off after `most` bytes and one. Empty for what is no regular file: a FIFO would keep its reader for ever.
std::vector<std::uint8_t> ReadPictureFile(const std::string& path, std::size_t most) {
  std::error_code unknown;
  if (!std::filesystem::is_regular_file(path, unknown)) return {};
  std::ifstream file(path, std::ios::binary);
  std::vector<std::uint8_t> bytes(most + 1);
  // Any object may be written through char.
  file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  bytes.resize(static_cast<std::size_t>(file.gcount()));
  return bytes;
}

std::string DataUri(std::span<const std::uint8_t> file) {
  const std::unique_ptr<gchar, decltype(&g_free)> encoded(g_base64_encode(file.data(), file.size()), g_free);
  return std::string("data:image/png;base64,") + encoded.get();
}

}  // namespace

std::optional<stored_picture_t> ReadPngHeader(std::span<const std::uint8_t> file) {
  // PNG (ISO/IEC 15948): the signature, then the IHDR chunk with width and height, most significant byte first.
  constexpr std::array<std::uint8_t, 8> SIGNATURE{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
  constexpr std::size_t WIDTH_AT = 16;
  constexpr std::uint32_t MOST = 4096;
  if (file.size() < WIDTH_AT + 8 || !std::equal(SIGNATURE.begin(), SIGNATURE.end(), file.begin())) return {};
  const std::uint32_t width = platform::LoadBe32(file, WIDTH_AT);
  const std::uint32_t height = platform::LoadBe32(file, WIDTH_AT + 4);
  if (width == 0 || height == 0 || width > MOST || height > MOST) return {};
  return stored_picture_t{{}, static_cast<int>(width), static_cast<int>(height)};
}

bool PictureStore::Fits(const std::string& path, const stored_picture_t& picture, std::size_t bytes) {
  const std::size_t pixels = static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height);
  if (bytes_ + bytes <= MAX_BYTES && pixels_ + pixels <= MAX_PIXELS && pictures_.size() < MAX_PICTURES) {
    bytes_ += bytes;
    pixels_ += pixels;
    return true;
  }
  if (refused_.size() < MAX_PICTURES) refused_.insert(path);
  problem_ = "the picture " + path + " is left out: all pictures together may have " +
             std::to_string(MAX_BYTES) + " bytes and " + std::to_string(MAX_PIXELS) + " pixels";
  return false;
}

std::optional<stored_picture_t> PictureStore::Find(const std::string& path) {
  if (const auto kept = pictures_.find(path); kept != pictures_.end()) return kept->second;
  if (path.empty() || path.front() != '/' || refused_.contains(path)) return {};
  const std::vector<std::uint8_t> file = ReadPictureFile(platform::ResolveUnitPath(path), MAX_BYTES);
  std::optional<stored_picture_t> picture = ReadPngHeader(file);
  if (!picture || !Fits(path, *picture, file.size())) return {};
  picture->id = "picture-" + std::to_string(pictures_.size() + 1);
  definitions_.push_back({"image",
                          {{"id", picture->id},
                           {"width", std::to_string(picture->width)},
                           {"height", std::to_string(picture->height)},
                           {"href", DataUri(file)}},
                          {},
                          {}});
  return pictures_.emplace(path, *picture).first->second;
}

}  // namespace unit
