#include "host/crane/rigging.h"

#include <algorithm>

namespace crane {

std::optional<std::size_t> FindName(std::span<const std::string_view> names, std::string_view name) {
  const auto found = std::ranges::find(names, name);
  if (found == names.end()) return std::nullopt;
  return static_cast<std::size_t>(found - names.begin());
}

}  // namespace crane
