// How a page's elements follow a variable: rules that choose a text or a colour by value, and formats of
// values.
//
// A rule is written "..0.9:#2fb457;0.9..1:#ffb000;1..:#e5242a;*:#5c6f80": entries in order, the first that
// holds wins. What stands before the colon is one number (equal to it), "low..high" (low included, high not,
// either may be left out), "?" (the value is not known) or "*" (anything else, the unknown value too).
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace unit {

using variable_value_t = std::optional<double>;  // empty: not known

struct value_match_t {
  enum class kind_t { RANGE, UNKNOWN, ANYTHING };
  kind_t kind = kind_t::ANYTHING;
  double low = 0;
  double high = 0;  // equal to low: that value alone

  bool Holds(const variable_value_t& value) const;
};

class ValueRule {
 public:
  ValueRule() = default;
  // Throws std::runtime_error with the entry that cannot be read. With `withTexts` false the entries are
  // matches alone ("1;2").
  explicit ValueRule(std::string_view text, bool withTexts = true);

  bool Empty() const { return entries_.empty(); }
  // The text of the first entry that holds; null when none does. Lives as long as the rule.
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

// A text around one place for the value: "{0.0} m". The digits in the place say the least number of digits
// before the point, filled with zeros, and the number of digits after it.
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

// The numbers of a text such as "0 1.2", separated by blanks or commas. Throws std::runtime_error unless there
// are `count` of them.
std::vector<double> ParseNumbers(std::string_view text, std::size_t count);

}  // namespace unit
