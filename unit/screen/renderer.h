// Draws an SVG document with librsvg and cairo.
#pragma once

#include <string>

namespace unit {

// The picture as PNG, 640 by 480 times `scale`. Throws std::runtime_error when the document cannot be drawn.
// Takes some 20 ms a picture, nearly all of it text. Any thread.
std::string RenderPng(const std::string& svg, double scale = 1);

}  // namespace unit
