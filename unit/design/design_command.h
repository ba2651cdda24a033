// The command `unit design`: checks a screen design and writes its contact sheet.
#pragma once

#include <string>
#include <vector>

namespace unit {

struct design_options_t {
  std::string folder;               // the pages; words and configuration stand beside it
  std::vector<std::string> sheets;  // files to write: *.png, or *.html with its *.png
  std::vector<std::string> pages;   // the pages to draw; empty: all
  int pictureWidth = 320;           // of a picture on the sheet, pixels
};

// One line a finding on standard output; progress on standard error. Returns the exit status: 0 without
// findings, 1 with some, 2 when a file cannot be read or written.
int CheckDesignFolder(const design_options_t& options);

}  // namespace unit
