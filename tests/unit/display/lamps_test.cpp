#include <map>
#include <string>

#include <gtest/gtest.h>

#include "core/operating_values.h"
#include "display/dispatcher.h"
#include "display/handles.h"
#include "support/console_capture.h"
#include "support/test_record.h"

namespace {

// The lamps that are lit, with their values.
std::map<std::string, double> LitLamps() {
  std::map<std::string, double> lit;
  for (const char* name : {"Tires",
                           "OutriggerRetracted",
                           "OutriggerHalf",
                           "OutriggerExtended",
                           "PickMainBoom",
                           "PickAux",
                           "PickFly",
                           "JibLongFly0",
                           "JibShortFly0",
                           "JibLongFly15",
                           "JibShortFly15",
                           "JibLongFly30",
                           "JibShortFly30",
                           "FrontWinch",
                           "RearWinch",
                           "Counterweight",
                           "Stowed",
                           "BoomMode",
                           "AuxHead",
                           "AlarmSet",
                           "PreAlarm",
                           "Overload",
                           "A2B",
                           "AlarmLED",
                           "AngleAlarmSet",
                           "AngleAlarmTripped",
                           "RadiusAlarmSet",
                           "RadiusAlarmTripped",
                           "ExtensionAlarmSet",
                           "ExtensionAlarmTripped",
                           "SwingAlarmSet",
                           "SwingAlarmTripped",
                           "ManBasket"}) {
    const double value = ParameterValue(std::string("Orvik") + name);
    if (value != 0) lit[name] = value;
  }
  return lit;
}

TEST(Lamps, FollowTheirBitsOfTheLampWord) {
  TestRecord record;
  SetOutriggerColors(record, 3, 2, 4, 5);
  using lit_t = std::map<std::string, double>;
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
    EXPECT_EQ(LitLamps(), lit) << std::hex << word;
  }
}

TEST(PageUpdates, ReportAPageThatIsNeverTheCurrentOne) {
  TestRecord record;
  ConsoleCapture console;
  UpdateDisplay(record);
  Page_t page;
  for (const int pageId : {7, 17, 24, 35, 3, 15}) {
    page.pageId = pageId;
    record->currentPage = &page;
    UpdateDisplay(record);
  }
  record->currentPage = nullptr;
  EXPECT_EQ(console.Err(),
            "ERROR!  Request to update NONE page\n"
            "ERROR!  Request to update unknown page actionID 7\n"
            "ERROR!  Request to update unknown page actionID 17\n"
            "ERROR!  Request to update unknown page actionID 24\n"
            "ERROR!  Request to update unknown page actionID 35\n");
}

TEST(Handles, ComeFromTheConfigurationAndAreZeroWhereItHasNone) {
  orvikData_t data;
  data.screenObjectIds = {
      {"orvikTextWidgetLine1Std", 11}, {"orvikTextWidgetBotLine1Std", 12}, {"orvikTextWidgetLoad", 13}};
  data.variableHandles = {{"PlugA.Resistor", 21}};
  InitGaugeHandles(&data);
  InitVariableHandles(&data);
  EXPECT_EQ(data.textWidgets.size(), 74U);
  EXPECT_EQ(data.gauges.wadSwing, 0U);
  EXPECT_EQ(data.variables.plugAResistor, 21U);
  EXPECT_EQ(data.variables.tires, 0U);
  ConsoleCapture console;
  DumpGaugeHandles(&data);
  EXPECT_EQ(console.Out(),
            "OperatingLineWidgetsStd = 11\nOperatingLineWidgetsWide = 0\nChoice4TopLineWidgetsStd = 0\n"
            "Choice4TopLineWidgetsWide = 0\nChoice4MidLineWidgetsStd = 0\nChoice4MidLineWidgetsWide = 0\n"
            "Choice4BotLineWidgetsSt = 12\nChoice4BotLineWidgetsWide = 0\nWadLineWidgetsStd = 0\n"
            "WadLineWidgetsWide = 0\nSlateLineWidgetsStd = 0\nSlateLineWidgetsWide = 0\nFlashMsgWidgetStd = 0\n"
            "FlashMsgWidgetWide = 0\nCapacityWidget = 0\nLoadWidge = 13\nMainErectedWidgetStd = 0\n"
            "MainErectedWidgetWide = 0\nMainStowedWidgetStd = 0\nMainStowedWidgetWide = "
            "0\nConfigErectedWidgetStd = 0\n"
            "ConfigErectedWidgetWide = 0\nConfigStowedWidgetStd = 0\nConfigStowedWidgetWide = 0\n");
}

}  // namespace
