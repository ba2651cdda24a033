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

// A Compositing::shape_t with its floats, all finite. Empty when the shape is unknown or floats are missing. A
// gradient runs from the inner colour at the centre to the outer one at the edge.
std::optional<drawn_element_t> MakeShape(std::uint32_t shape, std::span<const double> arguments,
                                         const std::array<float, 4>& color);

// A picture that stands among a page's definitions.
struct picture_t {
  std::string id;
  int width = 0, height = 0;
};

// A use of the picture. A size of 0 takes the picture's own.
drawn_element_t MakePicture(const picture_t& picture, int width, int height, bool centred);

// Where a video would stand: the unit has no source, and an empty frame says so.
drawn_element_t MakeVideoPlace(const std::array<double, 4>& box);

}  // namespace unit
