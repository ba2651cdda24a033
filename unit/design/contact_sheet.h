// One picture of all pages in the states that matter, in all languages by day and in English by night.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "unit/screen/design/screen_model.h"

namespace unit {

struct sheet_options_t {
  std::vector<std::string> pages;  // by name, in the order of the rows
  int width = 320;                 // of a picture, pixels
};

// The sheet as PNG: a row for each page and state, a column for each language and look. `step` is called before
// each page with its name.
std::string DrawSheet(ScreenModel& model, const sheet_options_t& options,
                      const std::function<void(const std::string&)>& step);

// A document that shows the sheet with the names beside its parts. `picture` is the name of the sheet's file in
// the document's folder.
std::string WriteSheetPage(const design_t& design, const sheet_options_t& options, const std::string& picture);

}  // namespace unit
