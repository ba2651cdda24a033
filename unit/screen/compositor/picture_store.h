// The picture files that drawings use. Each is read once and kept as a definition of a page.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <utility>

#include "unit/screen/compositor/shape_path.h"
#include "unit/screen/design/drawing.h"

namespace unit {

// Not thread-safe; its owner locks it.
class PictureStore {
 public:
  // The picture with this absolute path on the display unit; the file is read by the first call. Empty when
  // there is no such PNG file, and when it does not fit into the bounds.
  std::optional<stored_picture_t> Find(const std::string& path);
  // A line for the user about a picture that did not fit, after the call of Find that found it.
  std::string TakeProblem() { return std::exchange(problem_, {}); }
  // <image> elements with the pictures' ids.
  const drawing_t& Definitions() const { return definitions_; }

  // A page has all pictures that any drawing has used. It travels in one message (SCREEN_REPLY_SIZE), in which
  // a picture takes four bytes for three.
  static constexpr std::size_t MAX_BYTES = 384U << 10U;  // of all files
  static constexpr std::size_t MAX_PIXELS = 4U << 20U;   // of all pictures; more take too long to be drawn
  static constexpr std::size_t MAX_PICTURES = 32;

 private:
  bool Fits(const std::string& path, const stored_picture_t& picture, std::size_t bytes);

  std::map<std::string, stored_picture_t> pictures_;
  drawing_t definitions_;
  std::size_t bytes_ = 0, pixels_ = 0;
  std::set<std::string> refused_;  // paths that a problem was reported for
  std::string problem_;
};

// The width and height in a PNG file's header; empty when the bytes are not a PNG file.
std::optional<stored_picture_t> ReadPngHeader(std::span<const std::uint8_t> file);

}  // namespace unit
