// Finds what the user probably meant by a name that does not exist.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace base {

// The candidate that differs from `word` in the fewest letters; empty if none is near.
std::string_view FindNearest(std::string_view word, std::span<const std::string_view> candidates);
// "; did you mean NAME?" for the nearest candidate, or nothing.
std::string Suggest(std::string_view word, std::span<const std::string_view> candidates);
std::string Suggest(std::string_view word, const std::vector<std::string>& candidates);

}  // namespace base
