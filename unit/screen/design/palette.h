// The colours of the screen by name, for day and for night: config/screen/palette.xml.
//
//   <palette><colour name="ground" day="#0a0e13" night="#000000"/> ... </palette>
// An attribute or a style sheet of a page names a colour as "@ground".
#pragma once

#include <array>
#include <cstddef>
#include <filesystem>
#include <map>
#include <string>

#include <pugixml.hpp>

#include "unit/screen/design/value_rule.h"

namespace unit {

enum look_t : std::size_t { LOOK_DAY = 0, LOOK_NIGHT = 1 };
constexpr std::size_t LOOKS = 2;

using palette_t = std::map<std::string, std::array<std::string, LOOKS>>;  // by name, the colour for each look

constexpr const char* BRIGHTNESS_VARIABLE = "OrvikBrightness";
constexpr double DAY_FROM = 70;     // percent of the backlight
constexpr double NIGHT_UP_TO = 50;  // between the two the look stays as it is

// The look for a brightness; an unknown brightness changes nothing.
look_t ChooseLook(look_t present, const variable_value_t& brightness);

// Empty when the folder has no palette. Throws std::runtime_error when it cannot be read.
palette_t ReadPalette(const std::filesystem::path& file);

// Writes the look's colours in place of their names, in every attribute and style sheet below `root`. Throws
// std::runtime_error with a name that the palette does not have.
void PaintColors(pugi::xml_node root, const palette_t& palette, look_t look);

}  // namespace unit
