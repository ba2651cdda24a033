// Draws an SVG document with librsvg and cairo.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace unit {

// A picture, row by row from the top. A pixel is 0xRRGGBB; its highest byte is undefined.
struct pixels_t {
  int width = 0, height = 0;
  std::vector<std::uint32_t> values;  // width times height
};

// Draws the document as PNG, 640 by 480 pixels times `scale`. Throws std::runtime_error when the document
// cannot be drawn. A picture takes some 20 ms, nearly all of it for text. Any thread.
std::string RenderPng(const std::string& svg, double scale = 1);

// Draws the document in any size; `style` is a style sheet (CSS) that is added to the document's own. Throws
// and takes as much time as RenderPng.
pixels_t RenderPixels(const std::string& svg, int width, int height, const std::string& style = {});

}  // namespace unit
