// The display's own way of each operating value, from the setter to the text, beside the reference.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bench/exhaustive/chunk_run.h"

namespace exhaustive {

// All single-precision values of capacity, load, radius, angle and extension: through the setter, the widget of
// Main and Wad, and the function that gives other pages the text; all swings with all swing modes; and the
// percentage through every format and every rule of colour and word that the screen design in
// `configDirectory` has for it. Throws std::runtime_error when the design cannot be read.
std::vector<check_t> MakeValueChecks(const std::string& configDirectory);
// The same checks on the neighbourhoods of all boundaries and on `amount` random values each, in random order,
// so that each value comes after another one. The percentage goes through the design's whole elements.
std::vector<check_t> MakeSampledValueChecks(const std::string& configDirectory, std::size_t amount,
                                            std::uint64_t seed);

}  // namespace exhaustive
