#include "host/simulate/action_arguments.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <sstream>
#include <vector>

#include "base/nearest_word.h"
#include "host/crane/rigging.h"
#include "host/protocol/errors.h"
#include "host/protocol/value_text.h"

namespace simulate {
namespace {

std::string OneOf(std::span<const std::string_view> names) {
  std::string text = "one of";
  for (const std::string_view name : names) text.append(" ").append(name);
  return text;
}

}  // namespace

void RefuseWord(const std::string& word, const std::string& right, std::span<const std::string_view> names) {
  throw host::UsageError("\"" + word + "\" is not " + right + base::Suggest(word, names));
}

std::size_t ParseName(std::span<const std::string_view> names, const std::string& word) {
  const auto index = crane::FindName(names, word);
  if (!index) RefuseWord(word, OneOf(names), names);
  return *index;
}

bool ParseSwitch(const std::string& word) {
  static constexpr std::array<std::string_view, 2> NAMES = {"off", "on"};
  return ParseName(NAMES, word) == 1;
}

std::uint8_t ParseProtocolName(std::span<const host::number_name_t> table, const std::string& word) {
  if (const auto number = host::NumberOf(table, word)) return *number;
  std::vector<std::string_view> names;
  std::ranges::transform(table, std::back_inserter(names), &host::number_name_t::name);
  RefuseWord(word, OneOf(names), names);
}

double ParseQuantity(const std::string& word, double least, double most,
                     std::span<const argument_unit_t> units) {
  double value = 0;
  const char* const end = word.data() + word.size();
  const auto [stop, error] = std::from_chars(word.data(), end, value);
  const std::string_view unit(stop, static_cast<std::size_t>(end - stop));
  const auto found = std::ranges::find(units, unit, &argument_unit_t::name);
  if (error == std::errc() && found != units.end()) value *= found->factor;
  const bool known = error == std::errc() && (unit.empty() || found != units.end());
  if (known && value >= least && value <= most) return value;
  std::ostringstream right;
  right << "a number from " << least << " to " << most << ' ' << units.front().name;
  RefuseWord(word, right.str());
}

int ParseWhole(const std::string& word, int least, int most) {
  int value = 0;
  const char* const end = word.data() + word.size();
  const auto [stop, error] = std::from_chars(word.data(), end, value);
  if (error == std::errc() && stop == end && value >= least && value <= most) return value;
  RefuseWord(word, "a whole number from " + std::to_string(least) + " to " + std::to_string(most));
}

}  // namespace simulate
