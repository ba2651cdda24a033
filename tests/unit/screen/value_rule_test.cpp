#include "screen/value_rule.h"

#include <cmath>
#include <limits>
#include <stdexcept>

#include <gtest/gtest.h>

namespace unit {
namespace {

constexpr const char* LOAD = "..0.9:green;0.9..1:yellow;1..:red;?:grey";

struct choice_t {
  const char* rule;
  variable_value_t value;
  const char* expected;  // null: no entry holds
};

class RuleChooses : public testing::TestWithParam<choice_t> {};

TEST_P(RuleChooses, TheFirstEntryThatHolds) {
  const auto& [text, value, expected] = GetParam();
  const ValueRule rule(text);
  const std::string* chosen = rule.Choose(value);
  EXPECT_EQ(expected == nullptr, chosen == nullptr);
  if (chosen != nullptr && expected != nullptr) {
    EXPECT_EQ(*chosen, expected);
  }
}

INSTANTIATE_TEST_SUITE_P(All, RuleChooses,
                         testing::Values(choice_t{LOAD, 0.85, "green"}, choice_t{LOAD, -3.0, "green"},
                                         choice_t{LOAD, 0.89999, "green"}, choice_t{LOAD, 0.9F, "yellow"},
                                         choice_t{LOAD, 0.9, "yellow"}, choice_t{LOAD, 0.99999, "yellow"},
                                         choice_t{LOAD, 1.0, "red"}, choice_t{LOAD, 1e300, "red"},
                                         choice_t{LOAD, std::nullopt, "grey"},
                                         choice_t{"1:a;2:b", 3.0, nullptr},
                                         choice_t{"1:a;2:b", std::nullopt, nullptr},
                                         choice_t{"2:b;*:c", 9.0, "c"}, choice_t{"2:b;*:c", std::nullopt, "c"},
                                         choice_t{"*:first;1:never", 1.0, "first"},
                                         choice_t{"1:12:30", 1.0, "12:30"}, choice_t{"-1:low", -1.0, "low"},
                                         choice_t{"1:", 1.0, ""}));

TEST(ValueRule, RefusesWhatCannotBeRead) {
  for (const char* text :
       {"", "1", "x:red", "1..0:red", "1..1:red", "1:a;;2:b", "1:a;b", "nan:a", "1..inf:a", ":a"}) {
    EXPECT_THROW(ValueRule{text}, std::runtime_error) << text;
  }
}

struct format_t {
  const char* format;
  double value;
  const char* expected;
};

class FormatShows : public testing::TestWithParam<format_t> {};

TEST_P(FormatShows, TheValueInItsPlace) {
  EXPECT_EQ(ValueFormat(GetParam().format).Apply(GetParam().value), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(All, FormatShows,
                         testing::Values(format_t{"{0} %", 85.0, "85 %"}, format_t{"{0} %", 84.9, "84 %"},
                                         format_t{"{0} %", 100.0 * 0.9F, "90 %"},
                                         format_t{"{0} %", 89.97, "89 %"}, format_t{"{0.0}", 35.44, "35.4"},
                                         format_t{"{0.0}", -0.04, "0.0"}, format_t{"{00}", 5.0, "05"},
                                         format_t{"{00}", -5.0, "-05"}, format_t{"{00}:", 123.0, "123:"},
                                         format_t{"{0.00} m", 1.0, "1.00 m"}, format_t{"{0}", 1e300, "--"},
                                         format_t{"{0}", std::numeric_limits<double>::quiet_NaN(), "--"}));

TEST(ValueFormat, RefusesWhatHasNotOnePlace) {
  for (const char* text : {"", "12", "{}", "{x}", "{.0}", "}0{", "{0}{0}", "{0.0.0}", "{0000000000}"}) {
    EXPECT_THROW(ValueFormat{text}, std::runtime_error) << text;
  }
}

}  // namespace
}  // namespace unit
