#include "base/nearest_word.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <utility>

namespace base {
namespace {

// How many letters to insert, remove or replace, and neighbours to swap (optimal string alignment distance),
// one row of the table at a time.
std::size_t Distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> earlier;  // two rows above
  std::vector<std::size_t> above(b.size() + 1);
  std::iota(above.begin(), above.end(), std::size_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::vector<std::size_t> row = {i};
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t replaced = above[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
      row.push_back(std::min({replaced, above[j] + 1, row[j - 1] + 1}));
      const bool isSwapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
      if (isSwapped) row[j] = std::min(row[j], earlier[j - 2] + 1);
    }
    earlier = std::exchange(above, std::move(row));
  }
  return above[b.size()];
}

}  // namespace

std::string_view FindNearest(std::string_view word, std::span<const std::string_view> candidates) {
  constexpr std::size_t MOST_LETTERS = 64;
  if (word.empty() || word.size() > MOST_LETTERS) return {};
  std::string_view best;
  std::size_t least =
      1 + std::max<std::size_t>(1, word.size() / 3);  // a more distant candidate is another word
  for (const std::string_view candidate : candidates) {
    const std::size_t distance = candidate.starts_with(word) ? 1 : Distance(word, candidate);
    if (distance >= least) continue;
    least = distance;
    best = candidate;
  }
  return best;
}

std::string Suggest(std::string_view word, std::span<const std::string_view> candidates) {
  const std::string_view nearest = FindNearest(word, candidates);
  return nearest.empty() ? "" : "; did you mean " + std::string(nearest) + "?";
}

std::string Suggest(std::string_view word, const std::vector<std::string>& candidates) {
  return Suggest(word, std::vector<std::string_view>(candidates.begin(), candidates.end()));
}

}  // namespace base
