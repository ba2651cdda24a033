// A page as it is drawn in one state: its visible texts and the frames that they stand in, with their places.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include <pugixml.hpp>

#include "unit/screen/render/renderer.h"

namespace unit {

struct drawn_text_t {
  std::string name;  // for findings: "text LOAD (data-word load)"
  std::string content;
  std::string classes;
  double fontSize = 0;  // of its smallest glyph, in pixels of the screen
  ink_box_t box;
  ink_box_t frame;  // the smallest visible rectangle below the text that holds its middle; else the screen
};

// Places of elements that were measured before: most of a page is the same in the next state.
using ink_cache_t = std::map<std::string, std::optional<ink_box_t>>;

// `svg` is a document of ScreenModel::Svg. Throws std::runtime_error when it cannot be drawn.
std::vector<drawn_text_t> ReadDrawnTexts(const std::string& svg, ink_cache_t& cache);

}  // namespace unit
