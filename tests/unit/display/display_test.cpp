// The texts of the operating values.
#include <limits>
#include <tuple>

#include <gtest/gtest.h>

#include "src/display/number_format.h"
#include "src/display/operating_page.h"
#include "src/display/value_widgets.h"

namespace {

constexpr double INFINITE = std::numeric_limits<double>::infinity();
constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();

TEST(NumberFormatsTest, WriteDegreesOfTheFullCircle) {
  const std::pair<int, const char*> cases[] = {
      {0, "    0"},   {-24, "  -24"},  {359, "  359"}, {-359, " -359"},
      {360, "    0"}, {-360, "    0"}, {361, "-----"}, {std::numeric_limits<int>::min(), "-----"}};
  for (const auto& [degrees, expected] : cases) {
    char text[8];
    FormatSwingStr(text, degrees);
    EXPECT_STREQ(text, expected) << degrees;
  }
}

TEST(ValueTextsTest, RoundAsEachValueDoes) {
  for (const auto& [format, value, expected] : {
           std::tuple<void (*)(double, char*), double, const char*>{LoadText, 12399, " 12,300"},
           {LoadText, 0, "      0"},
           {LoadText, 500, "    500"},
           {LoadText, 1000, "  1,000"},
           {LoadText, 999999, "999,900"},
           {LoadText, 1000000, "-------"},
           {LoadText, -500, "      0"},
           {LoadText, 1e300, "-------"},
           {LoadText, NOT_A_NUMBER, "-------"},
           {ExtensionText, 99.96, "100.0"},
           {ExtensionText, 99.94, " 99.9"},
           {ExtensionText, -7, "  0.0"},
           {ExtensionText, 1e12, "-----"},
           {ExtensionText, NOT_A_NUMBER, "-----"},
           {AngleText, -20.04, "-19.9"},
           {AngleText, -20.06, "-20.0"},
           {AngleText, -0.1, "  0.0"},
           {AngleText, 61.27, " 61.3"},
           {AngleText, -20.2, "-----"},
           {AngleText, 62.1, " 62.1"},
           {AngleText, INFINITE, "-----"},
           {AngleText, -INFINITE, "-----"},
       }) {
    char text[8];
    format(value, text);
    EXPECT_STREQ(text, expected) << value;
  }
  char infinite[] = "-inf ";
  InvalidNum(infinite, 5);
  EXPECT_STREQ(infinite, "-----");
}

}  // namespace
