// Fuzzes load charts.
//
// Checks: a refusal names file and line; each capacity is a number from 0 to the largest that a chart may have,
// and 0 where no configuration fits and outside the table; a chart with other blanks has the same capacities.
#include <optional>
#include <sstream>

#include "fuzz/fuzz_input.h"
#include "host/crane/load_chart.h"

namespace {

using crane::LoadChart;
using fuzz::Require;

std::optional<LoadChart> Parse(const std::string& text) {
  std::istringstream in(text);
  try {
    return LoadChart::Parse(in, "a.chart");
  } catch (const crane::ChartError& error) {
    const std::string_view why = error.what();
    Require(why.starts_with("a.chart:") && why[8] >= '0' && why[8] <= '9');
    return std::nullopt;
  }
}

// Blanks at both ends and two between two words.
std::string Spread(std::string_view text) {
  std::string spread;
  for (const char c : text) {
    if (c == ' ' || c == '\n') spread += ' ';
    spread += c;
    if (c == '\n') spread += "\t ";
  }
  return spread;
}

}  // namespace

void fuzz::RunInput(bytes_t input) {
  const std::string text = TextOf(input);
  const std::optional<LoadChart> chart = Parse(text);
  const std::optional<LoadChart> again = Parse(Spread(text));
  Require(chart.has_value() == again.has_value());
  for (unsigned place = 0; chart && place < 24; ++place) {
    crane::conditions_t conditions;
    conditions.base = static_cast<crane::base_t>(place % 4);
    conditions.counterweight = place % 8 < 4;
    conditions.area = static_cast<crane::area_t>(place % 3);
    for (const double radius : {0.0, 3.0, 3.25, 12.0, 40.0, 1e9}) {
      const double capacity = chart->Capacity(conditions, radius, 10.7 + place);
      Require(capacity >= 0 && capacity <= 1e6 + 1 &&
              capacity == again->Capacity(conditions, radius, 10.7 + place));
      Require(capacity == 0 || (chart->Has(conditions) && radius < 1e9));
    }
  }
}
