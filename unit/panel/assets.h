// The front panel's page, style and scripts, embedded in the program.
#pragma once

#include <span>
#include <string_view>

namespace unit {

struct asset_t {
  std::string_view path;  // "/panel.js"
  std::string_view type;  // the media type
  std::string_view content;
};

std::span<const asset_t> Assets();

}  // namespace unit
