// The compositor's shapes as SVG elements around the origin.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "unit/screen/design/drawing.h"

namespace unit {

constexpr std::size_t MAX_SHAPE_ARGUMENTS = 11;  // an arc with two colours

// Draws a Compositing::shape_t; all arguments are finite. Empty when the shape is unknown or arguments are
// missing. A gradient runs from the inner colour at the centre to the outer colour at the edge.
std::optional<drawn_element_t> MakeShape(std::uint32_t shape, std::span<const double> arguments,
                                         const std::array<float, 4>& color);

// A picture that is a definition of the page.
struct stored_picture_t {
  std::string id;
  int width = 0, height = 0;
};

// A reference to the picture. A size of 0 means the picture's own size.
drawn_element_t MakePicture(const stored_picture_t& picture, int width, int height, bool centred);

// An empty frame in place of a video: the unit has no video source.
drawn_element_t MakeVideoPlace(const std::array<double, 4>& box);

}  // namespace unit
