// Draws an SVG document with librsvg and cairo.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace unit {

// A picture row by row from the top, 0xRRGGBB a pixel; its highest byte means nothing.
struct pixels_t {
  int width = 0, height = 0;
  std::vector<std::uint32_t> values;  // width times height
};

// The picture as PNG, 640 by 480 times `scale`. Throws std::runtime_error when the document cannot be drawn.
// Takes some 20 ms a picture, nearly all of it text. Any thread.
std::string RenderPng(const std::string& svg, double scale = 1);

// The picture in any size; `style` is a style sheet (CSS) laid over the document's own. Throws and takes as
// above.
pixels_t RenderPixels(const std::string& svg, int width, int height, const std::string& style = {});

}  // namespace unit
