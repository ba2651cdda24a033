// The texts of a picture of the screen, as the operator reads them.
#pragma once

#include <map>
#include <string>

namespace unit {

// An element that is not displayed has an empty text. Blanks of every width are plain ones, and those at both
// ends are cut off.
struct glass_t {
  std::map<std::string, std::string> widgets;  // by the widget's name
  std::map<std::string, std::string> numbers;  // by the variable whose value the text shows
};

// `svg` is the screen service's document. Empty where it is no document.
glass_t ReadGlass(const std::string& svg);

}  // namespace unit
