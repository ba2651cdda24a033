// Compares two pictures of the screen with a tolerance for the edges of letters, which differ a little from one
// version of the drawing libraries to the next.
#pragma once

#include <string>
#include <string_view>

namespace judge {

// A letter in another place differs by far more in its tile than the edges of letters do.
constexpr double MEAN_TOLERANCE = 1.0;   // of 255, over the whole picture
constexpr double TILE_TOLERANCE = 30.0;  // of 255, in the worst tile of TILE pixels
constexpr unsigned TILE = 16;

// What differs between two PNG pictures, in words; empty where they are alike.
std::string DescribeDifference(std::string_view stored, std::string_view shown);

}  // namespace judge
