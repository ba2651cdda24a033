// The unit's picture files that drawings use, read once and kept as definitions of a page.
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
  // The picture with this absolute path on the unit; read when it is first asked for. Empty when there is no
  // such PNG file, it is larger than MAX_BYTES, or MAX_PICTURES are kept already.
  std::optional<picture_t> Find(const std::string& path);
  // <image> elements whose ids are the pictures'.
  const drawing_t& Definitions() const { return definitions_; }

  static constexpr std::size_t MAX_BYTES = 512U << 10U;
  static constexpr std::size_t MAX_PICTURES = 32;

 private:
  std::map<std::string, picture_t> pictures_;
  drawing_t definitions_;
};

// A PNG file's width and height, as its header has them; empty when the bytes are no PNG.
std::optional<picture_t> ReadPngHeader(std::span<const std::uint8_t> file);

}  // namespace unit
