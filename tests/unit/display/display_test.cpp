// The texts of the operating values, and the lamps.
#include <limits>
#include <map>
#include <string_view>

#include <gtest/gtest.h>

#include "src/core/operating_values.h"
#include "src/display/dispatcher.h"
#include "src/display/handles.h"
#include "src/display/number_format.h"
#include "src/display/operating_page.h"
#include "src/display/value_widgets.h"
#include "tests/support/test_record.h"

namespace {

constexpr double INFINITE = std::numeric_limits<double>::infinity();
constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();

TEST(NumberFormats, WriteDegreesOfTheFullCircle) {
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

TEST(ValueTexts, RoundAsEachValueDoes) {
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

// The parameters that are above zero, without their "Orvik".
std::map<std::string_view, double> Lit() {
  std::map<std::string_view, double> lit;
  for (const variable_name_t& variable : VARIABLE_NAMES) {
    const double value = ParameterValue(std::string(variable.name));
    if (value > 0) lit[variable.name.substr(std::string_view("Orvik").size())] = value;
  }
  return lit;
}

TEST(Lamps, FollowTheirBitsOfTheLampWord) {
  TestRecord record;
  SetOutriggerColors(record, 3, 2, 4, 5);
  using lit_t = std::map<std::string_view, double>;
  const std::pair<unsigned, lit_t> cases[] = {
      {0, {}},
      {0x00008000, {{"AlarmSet", 1}, {"AlarmLED", 1}}},
      {0x000F0000, {{"Tires", 3}, {"OutriggerRetracted", 2}, {"OutriggerHalf", 4}, {"OutriggerExtended", 5}}},
      {0x00000007, {{"PreAlarm", 1}, {"Overload", 1}, {"A2B", 1}}},
      {0x00000128, {{"JibLongFly0", 1}, {"JibLongFly15", 1}, {"JibShortFly30", 1}}},
      {0x000000D0, {{"JibShortFly0", 1}, {"JibShortFly15", 1}, {"JibLongFly30", 1}}},
      {0x00000600, {{"RearWinch", 1}, {"FrontWinch", 1}}},
      {0x00000400, {{"FrontWinch", 1}}},
      {0x00007800, {{"Counterweight", 1}, {"Stowed", 1}, {"BoomMode", 1}, {"AuxHead", 1}}},
      {0x00F00000, {{"PickMainBoom", 1}, {"PickAux", 1}, {"PickFly", 1}, {"ManBasket", 1}}},
      {0x55000000,
       {{"AngleAlarmSet", 1}, {"RadiusAlarmSet", 1}, {"ExtensionAlarmSet", 1}, {"SwingAlarmSet", 1}}},
      {0xAA000000,
       {{"AngleAlarmTripped", 1},
        {"RadiusAlarmTripped", 1},
        {"ExtensionAlarmTripped", 1},
        {"SwingAlarmTripped", 1}}},
  };
  for (const auto& [word, lit] : cases) {
    SetLEDState(record, word);
    UpdateDatabase(record);
    EXPECT_EQ(Lit(), lit) << std::hex << word;
  }
}

}  // namespace
