// Draws an SVG document with librsvg and cairo.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace unit {

// A picture, row by row from the top. A pixel is 0xRRGGBB; its highest byte is undefined.
struct pixels_t {
  int width = 0, height = 0;
  std::vector<std::uint32_t> values;  // width times height
};

// Draws the document in any size; `style` is a style sheet (CSS) that is added to the document's own. Throws
// std::runtime_error when the document cannot be drawn. A page takes some 10 to 20 ms, nearly all of it for
// text; RetainedPicture draws only what changed. Any thread.
pixels_t RenderPixels(const std::string& svg, int width, int height, const std::string& style = {});

// The picture as PNG (ISO/IEC 15948). Compresses fast and without filters: the flat areas of a page become
// smaller so than with the filters that suit photographs. Throws std::runtime_error when it cannot be made.
std::string WritePng(const pixels_t& pixels);

struct ink_box_t {
  double x = 0, y = 0, width = 0, height = 0;  // pixels of the document
};

// Where librsvg draws the elements of one document.
class SvgGeometry {
 public:
  // Throws std::runtime_error when the document cannot be read.
  explicit SvgGeometry(const std::string& svg);
  ~SvgGeometry();
  SvgGeometry(const SvgGeometry&) = delete;
  SvgGeometry& operator=(const SvgGeometry&) = delete;

  // What the element with that id covers with ink; empty when it draws nothing.
  std::optional<ink_box_t> Find(const std::string& id) const;

 private:
  struct state_t;
  std::unique_ptr<state_t> state_;
};

}  // namespace unit
