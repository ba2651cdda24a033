// The parameters of the lamps that the lamp word lights.
#include <map>
#include <string_view>

#include <gtest/gtest.h>

#include "src/core/operating_values.h"
#include "src/display/dispatcher.h"
#include "src/display/handles.h"
#include "tests/support/test_record.h"

namespace {

// The parameters above zero, without the prefix "Orvik".
std::map<std::string_view, double> Lit() {
  std::map<std::string_view, double> lit;
  for (const variable_name_t& variable : VARIABLE_NAMES) {
    const double value = ParameterValue(std::string(variable.name));
    if (value > 0) lit[variable.name.substr(std::string_view("Orvik").size())] = value;
  }
  return lit;
}

TEST(LampsTest, FollowTheirBitsOfTheLampWord) {
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
