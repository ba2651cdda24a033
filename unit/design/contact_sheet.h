// One picture of all pages in all languages, both looks and the states that matter.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "unit/screen/design/screen_model.h"

namespace unit {

struct sheet_options_t {
  std::vector<std::string> pages;  // by name, in the order of the rows
  int width = 160;                 // of a picture, pixels
};

// The sheet as PNG: a row for each page and state, a column for each look and language. `step` is called before
// each page with its name.
std::string DrawSheet(ScreenModel& model, const sheet_options_t& options,
                      const std::function<void(const std::string&)>& step);

// The sheet as a document of its own, with the picture in it and the names beside its parts.
std::string WriteSheetPage(const sheet_options_t& options, const std::string& png);

}  // namespace unit
