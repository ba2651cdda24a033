#include "unit/screen/design/value_rule.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <stdexcept>

namespace unit {
namespace {

[[noreturn]] void RefuseRule(std::string_view what, std::string_view text) {
  throw std::runtime_error(std::string(what) + " \"" + std::string(text) + "\"");
}

double ParseBound(std::string_view text) {
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc{} || end != text.data() + text.size() || !std::isfinite(value)) {
    RefuseRule("not a number:", text);
  }
  return value;
}

value_match_t ParseMatch(std::string_view text) {
  using Kind = value_match_t::kind_t;
  if (text == "*") return {Kind::ANYTHING};
  if (text == "?") return {Kind::UNKNOWN};
  const std::size_t dots = text.find("..");
  if (dots == std::string_view::npos) {
    const double value = ParseBound(text);
    return {Kind::RANGE, value, value};
  }
  const std::string_view low = text.substr(0, dots);
  const std::string_view high = text.substr(dots + 2);
  constexpr double INFINITE = std::numeric_limits<double>::infinity();
  const value_match_t match{Kind::RANGE, low.empty() ? -INFINITE : ParseBound(low),
                            high.empty() ? INFINITE : ParseBound(high)};
  if (match.low >= match.high) RefuseRule("an empty range:", text);
  return match;
}

// Rounds to six digits, the precision of the host's values: they are single precision, so that its 0.9 arrives
// as 0.899999976 and must match 0.9.
double Settle(double value) {
  if (value == 0 || !std::isfinite(value)) return value;
  const double exponent = 6 - std::ceil(std::log10(std::abs(value)));
  // A negative power of ten is not exact: a large value is divided by the positive one instead.
  const double scale = std::pow(10.0, std::abs(exponent));
  const double settled = exponent < 0 ? std::round(value / scale) * scale : std::round(value * scale) / scale;
  return std::isfinite(settled) ? settled : value;
}

}  // namespace

bool value_match_t::Holds(const variable_value_t& value) const {
  if (kind == kind_t::ANYTHING) return true;
  if (kind == kind_t::UNKNOWN) return !value.has_value();
  if (!value.has_value()) return false;
  const double settled = Settle(*value);
  return low == high ? settled == low : settled >= low && settled < high;
}

ValueRule::ValueRule(std::string_view text, bool withTexts) {
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(';'), text.size());
    const std::string_view entry = text.substr(0, end);
    const std::size_t colon = withTexts ? entry.find(':') : entry.size();
    if (colon == std::string_view::npos) RefuseRule("no colon in the entry", entry);
    entries_.push_back(
        {ParseMatch(entry.substr(0, colon)), withTexts ? std::string(entry.substr(colon + 1)) : std::string()});
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  if (entries_.empty()) throw std::runtime_error("a rule without entries");
}

const std::string* ValueRule::Choose(const variable_value_t& value) const {
  const auto found = std::find_if(entries_.begin(), entries_.end(),
                                  [&](const entry_t& entry) { return entry.match.Holds(value); });
  return found == entries_.end() ? nullptr : &found->text;
}

std::vector<std::string> ValueRule::Texts() const {
  std::vector<std::string> texts;
  for (const entry_t& entry : entries_) texts.push_back(entry.text);
  return texts;
}

ValueFormat::ValueFormat(std::string_view text) {
  const std::size_t open = text.find('{');
  const std::size_t close = text.find('}');
  if (open == std::string_view::npos || close == std::string_view::npos || close < open) {
    RefuseRule("a format without {0}:", text);
  }
  const std::string_view place = text.substr(open + 1, close - open - 1);
  const std::size_t point = std::min(place.find('.'), place.size());
  const bool zeros = std::all_of(place.begin(), place.end(), [](char c) { return c == '0' || c == '.'; }) &&
                     std::count(place.begin(), place.end(), '.') <= 1;
  const std::size_t decimals = point == place.size() ? 0 : place.size() - point - 1;
  if (!zeros || point == 0 || point > 9 || decimals > 9 || text.find('{', open + 1) != std::string_view::npos) {
    RefuseRule("not a format:", text);
  }
  before_ = text.substr(0, open);
  after_ = text.substr(close + 1);
  integerDigits_ = static_cast<int>(point);
  decimals_ = static_cast<int>(decimals);
}

std::string ValueFormat::Apply(double value) const {
  // Above 1e15 a double has no exact decimals; the limit also bounds the text.
  if (!std::isfinite(value) || std::abs(value) > 1e15) return before_ + "--" + after_;
  const double scale = std::pow(10.0, decimals_);
  // Cut off, not rounded: a percentage must not show a limit as reached before its colour does.
  const double cut = std::trunc(Settle(value * scale)) / scale + 0.0;  // + 0.0: no "-0"
  const int width = integerDigits_ + (decimals_ > 0 ? decimals_ + 1 : 0) + (cut < 0 ? 1 : 0);
  std::array<char, 64> number{};
  static_cast<void>(std::snprintf(number.data(), number.size(), "%0*.*f", width, decimals_, cut));
  return before_ + number.data() + after_;
}

std::vector<double> ParseNumbers(std::string_view text, std::size_t count) {
  std::vector<double> numbers;
  std::string_view rest = text;
  while (true) {
    rest.remove_prefix(std::min(rest.find_first_not_of(" ,"), rest.size()));
    if (rest.empty()) break;
    const std::size_t end = std::min(rest.find_first_of(" ,"), rest.size());
    numbers.push_back(ParseBound(rest.substr(0, end)));
    rest.remove_prefix(end);
  }
  if (numbers.size() != count) RefuseRule("not " + std::to_string(count) + " numbers:", text);
  return numbers;
}

}  // namespace unit
