// The picture files that drawings use. Each is read once and kept as a definition of a page.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>

#include "unit/screen/compositor/shape_path.h"
#include "unit/screen/design/drawing.h"

namespace unit {

// Not thread-safe; its owner locks it.
class PictureStore {
 public:
  // The picture with this absolute path on the display unit; the file is read by the first call. Empty when
  // there is no such PNG file, it is larger than MAX_BYTES, or the store has MAX_PICTURES.
  std::optional<stored_picture_t> Find(const std::string& path);
  // <image> elements with the pictures' ids.
  const drawing_t& Definitions() const { return definitions_; }

  static constexpr std::size_t MAX_BYTES = 512U << 10U;
  static constexpr std::size_t MAX_PICTURES = 32;

 private:
  std::map<std::string, stored_picture_t> pictures_;
  drawing_t definitions_;
};

// The width and height in a PNG file's header; empty when the bytes are not a PNG file.
std::optional<stored_picture_t> ReadPngHeader(std::span<const std::uint8_t> file);

}  // namespace unit
