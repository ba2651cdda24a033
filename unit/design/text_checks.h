// What the operator must be able to read: sizes, contrast, and texts that stay in their places.
//
// docs/screen-design.md says where the figures come from.
#pragma once

#include <string>
#include <vector>

#include "unit/design/drawn_page.h"

namespace unit {

constexpr double LEAST_SIZE = 14;          // pixels, of any text
constexpr double LEAST_CAPTION_SIZE = 16;  // of all but units and the names of lamps that are off
constexpr double LEAST_VALUE_SIZE = 28;
constexpr double LEAST_CONTRAST = 4.5;
constexpr double LEAST_VALUE_CONTRAST = 7;

// What was found about one text: what is wrong and what to do. `name` is the element.
struct text_finding_t {
  std::string name;
  std::string what;
};

// The smallest of each kind that was seen, for the report of a design without findings.
struct text_extremes_t {
  double size = 1e9, captionSize = 1e9, valueSize = 1e9;
  double contrast = 1e9, valueContrast = 1e9;
};

bool IsValue(const drawn_text_t& text);

std::vector<text_finding_t> CheckPlaces(const std::vector<drawn_text_t>& texts);
std::vector<text_finding_t> CheckSizes(const std::vector<drawn_text_t>& texts, text_extremes_t& extremes);
// Draws the page with and without its texts, in both halves of a flash, and compares the pixels (WCAG's ratio).
std::vector<text_finding_t> CheckContrast(const std::string& svg, const std::vector<drawn_text_t>& texts,
                                          text_extremes_t& extremes);

}  // namespace unit
