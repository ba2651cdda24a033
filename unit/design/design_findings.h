// Everything that is wrong with a design: its files, its names, and what its texts look like in every state.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "unit/design/text_checks.h"
#include "unit/screen/design/screen_model.h"

namespace unit {

struct design_report_t {
  std::vector<std::string> findings;  // "main.svg: text data-word load: ...", each once
  text_extremes_t extremes;
};

// Names that the configuration does not have, widgets that no page shows, and elements or properties that
// browsers and librsvg draw differently.
std::vector<std::string> CheckNames(const design_t& design, const screen_names_t& names);

// Draws the pages in every scene and language. `step` is called before each page with its name.
design_report_t CheckTexts(ScreenModel& model, const std::vector<std::string>& pages,
                           const std::function<void(const std::string&)>& step);

}  // namespace unit
