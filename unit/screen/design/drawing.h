// The drawings of the compositor's layers as SVG elements for a page.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace unit {

struct drawn_element_t {
  std::string name;  // "path", "circle", "image", ...
  std::vector<std::pair<std::string, std::string>> attributes;
  std::string text;
  std::vector<drawn_element_t> children;

  bool operator==(const drawn_element_t&) const = default;
};

using drawing_t = std::vector<drawn_element_t>;

}  // namespace unit
