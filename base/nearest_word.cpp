#include "base/nearest_word.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <utility>

namespace base {
namespace {

// How many letters to insert, remove or replace (Levenshtein distance), one row of the table at a time.
std::size_t Distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i);
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t replaced = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
      diagonal = std::exchange(row[j], std::min({replaced, row[j] + 1, row[j - 1] + 1}));
    }
  }
  return row[b.size()];
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
