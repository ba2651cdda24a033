// The front panel's page, style and script, embedded in the program.
#pragma once

#include <span>
#include <string_view>

namespace unit {

struct asset_t {
  std::string_view path;  // "/panel.js"
  std::string_view type;  // its media type
  std::string_view content;
};

std::span<const asset_t> Assets();

}  // namespace unit
