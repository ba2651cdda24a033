// Rules that choose a text or a colour by the value of a variable, and formats for values.
//
// A rule is a list of entries, such as "..0.9:#2fb457;0.9..1:#ffb000;1..:#e5242a;*:#5c6f80"; the first entry
// that matches is chosen. Before the colon is one number (matches that value), "low..high" (low is included,
// high is not, either may be left out), "?" (matches the unknown value) or "*" (matches any value and the
// unknown one).
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace unit {

using variable_value_t = std::optional<double>;  // empty: unknown

struct value_match_t {
  enum class kind_t { RANGE, UNKNOWN, ANYTHING };
  kind_t kind = kind_t::ANYTHING;
  double low = 0;
  double high = 0;  // equal to low: matches only that value

  bool Holds(const variable_value_t& value) const;
};

class ValueRule {
 public:
  ValueRule() = default;
  // Throws std::runtime_error with the entry that cannot be read. Without `withTexts` the entries have no texts
  // ("1;2").
  explicit ValueRule(std::string_view text, bool withTexts = true);

  bool Empty() const { return entries_.empty(); }
  // The text of the first entry that matches; null when none does. Valid as long as the rule.
  const std::string* Choose(const variable_value_t& value) const;
  // The texts of all entries, in their order.
  std::vector<std::string> Texts() const;

 private:
  struct entry_t {
    value_match_t match;
    std::string text;
  };
  std::vector<entry_t> entries_;
};

// A text with one place for the value: "{0.0} m". The zeros before the point are the least number of digits
// there, those after the point the number of decimals.
class ValueFormat {
 public:
  ValueFormat() = default;
  // Throws std::runtime_error when there is not exactly one place.
  explicit ValueFormat(std::string_view text);

  bool Empty() const { return integerDigits_ == 0; }
  std::string Apply(double value) const;

 private:
  std::string before_, after_;
  int integerDigits_ = 0;
  int decimals_ = 0;
};

// Reads `count` numbers separated by blanks or commas, such as "0 1.2". Throws std::runtime_error for another
// number of them.
std::vector<double> ParseNumbers(std::string_view text, std::size_t count);

}  // namespace unit
