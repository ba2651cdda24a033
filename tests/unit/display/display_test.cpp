// The texts of the operating values.
#include <limits>

#include <gtest/gtest.h>

#include "src/display/number_format.h"
#include "src/display/operating_page.h"
#include "src/display/value_widgets.h"

namespace {

constexpr double INFINITE = std::numeric_limits<double>::infinity();
constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();

TEST(NumberFormatsTest, WriteDegreesOfTheFullCircle) {
  struct swing_t {
    int degrees;
    const char* text;
  };
  for (const swing_t& c : {swing_t{0, "    0"},
                           {-24, "  -24"},
                           {359, "  359"},
                           {-359, " -359"},
                           {360, "    0"},
                           {-360, "    0"},
                           {361, "-----"},
                           {std::numeric_limits<int>::min(), "-----"}}) {
    char text[8];
    FormatSwingStr(text, c.degrees);
    EXPECT_STREQ(text, c.text) << c.degrees;
  }
}

TEST(ValueTextsTest, RoundAsEachValueDoes) {
  struct case_t {
    void (*format)(double, char*);
    double value;
    const char* text;
  };
  for (const case_t& c : {
           case_t{LoadText, 12399, " 12,300"},  {LoadText, 0, "      0"},
           {LoadText, 500, "    500"},          {LoadText, 1000, "  1,000"},
           {LoadText, 999999, "999,900"},       {LoadText, 1000000, "-------"},
           {LoadText, -500, "      0"},         {LoadText, 1e300, "-------"},
           {LoadText, NOT_A_NUMBER, "-------"}, {ExtensionText, 99.96, "100.0"},
           {ExtensionText, 99.94, " 99.9"},     {ExtensionText, -7, "  0.0"},
           {ExtensionText, 1e12, "-----"},      {ExtensionText, NOT_A_NUMBER, "-----"},
           {AngleText, -20.04, "-19.9"},        {AngleText, -20.06, "-20.0"},
           {AngleText, -20.2, "-----"},         {AngleText, 62.1, " 62.1"},
           {AngleText, INFINITE, "-----"},      {AngleText, -INFINITE, "-----"},
       }) {
    char text[8];
    c.format(c.value, text);
    EXPECT_STREQ(text, c.text) << c.value;
  }
}

}  // namespace
