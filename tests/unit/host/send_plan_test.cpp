#include "host/send_plan.h"

#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>

#include "host/errors.h"
#include "tests/unit/host/hex.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::vector<std::string> FramesOf(const host::plan_t& plan) {
  std::vector<std::string> frames;
  for (const host::step_t& step : plan.steps) {
    for (const bus::frame_t& frame : step.frames) frames.push_back(ToHex(frame.Bytes()));
  }
  return frames;
}

host::plan_t Plan(const std::vector<std::string>& arguments) {
  host::OperatingValues values;
  return host::PlanSend(arguments, values);
}

TEST(SendPlan, SendsEachCommandByName) {
  const std::pair<const char*, const char*> cases[] = {{"beeper=20", "00 01 04 14 FF FF FF FF"},
                                                       {"beeper=continuous", "00 01 04 FF FF FF FF FF"},
                                                       {"units=metric", "00 01 07 0B 01 FF FF FF"},
                                                       {"units=0x02", "00 01 07 0B 02 FF FF FF"},
                                                       {"language=russian", "00 01 07 0D 04 FF FF FF"},
                                                       {"transition=wad-to-main", "00 01 07 0F 00 FF FF FF"},
                                                       {"swing-mode=2", "00 01 07 13 02 FF FF FF"},
                                                       {"swing-mode=360", "00 01 07 13 04 FF FF FF"},
                                                       {"colors=1,0,dark,yellow", "00 01 07 12 01 00 00 02"},
                                                       {"erected-icon=1", "00 01 07 10 01 FF FF FF"},
                                                       {"stowed-icon=1", "00 01 07 11 01 FF FF FF"},
                                                       {"protocol-version=1", "00 01 08 01 FF FF FF FF"},
                                                       {"encryption=1", "00 01 09 01 FF FF FF FF"},
                                                       {"select-mode=on", "00 01 07 0E 01 FF FF FF"},
                                                       {"display-type=3", "00 01 07 0C 03 FF FF FF"},
                                                       {"display-mode=units", "00 01 07 08 01 FF FF FF"},
                                                       {"key-state", "00 01 06 FF FF FF FF FF"},
                                                       {"program-name", "00 01 07 03 FF FF FF FF"},
                                                       {"program-date", "00 01 07 04 FF FF FF FF"},
                                                       {"file-id", "00 01 07 05 FF FF FF FF"},
                                                       {"lcd-status", "00 01 07 07 FF FF FF FF"},
                                                       {"led-brightness", "00 01 07 09 FF FF FF FF"},
                                                       {"raw=0714", "00 01 07 14 FF FF FF FF"},
                                                       {"frame=18FF00D0#0001", "00 01"},
                                                       {"flash=A", "00 01 03 00 03 00 00 41"}};
  for (const auto& [argument, frame] : cases)
    EXPECT_THAT(FramesOf(Plan({argument})), ElementsAre(frame)) << argument;
  // 23 masks: boom mode (1) with 5, info (18) as usual.
  EXPECT_THAT(FramesOf(Plan({"valid-keys=boom-mode:5,info"})),
              ElementsAre("00 04 07 01 17 00 05 00", "01 00 00 00 00 00 00 00", "02 00 00 00 00 00 00 00",
                          "03 00 7F 00 00 00 00 FF"));
}

TEST(SendPlan, GathersValuesAndTextsWhereTheFirstStands) {
  host::OperatingValues values;
  values.Set("load", 1);
  const std::vector<std::string> arguments = {"units=1",  "radius=2",         "line1-center=A",
                                              "beeper=1", "led=prealarm,a2b", "stowed=B"};
  const host::plan_t plan = host::PlanSend(arguments, values);
  ASSERT_EQ(plan.steps.size(), 4U);
  EXPECT_TRUE(plan.sendsValues);
  EXPECT_EQ(ToHex(plan.steps[1].frames[1].Bytes()), "01 3F 80 00 00 40 00 00");  // the load as it was, radius 2
  EXPECT_EQ(ToHex(plan.steps[1].frames[4].Bytes()), "04 05 00 00 00 00 00 00");
  EXPECT_EQ(ToHex(plan.steps[2].frames[0].Bytes()), "00 02 05 00 0A 00 03 00");
  EXPECT_EQ(ToHex(plan.steps[2].frames[1].Bytes()), "01 11 41 00 03 00 1E 42");
  EXPECT_EQ(ToHex(plan.steps[3].frames[0].Bytes()), "00 01 04 01 FF FF FF FF");
}

TEST(SendPlan, RefusesWhatItCannotSendAndSaysWhatWouldBeRight) {
  const std::pair<const char*, const char*> cases[] = {{"lod=3", "did you mean load?"},
                                                       {"qqqqqqqq=3", "--list"},
                                                       {"load", "load=..."},
                                                       {"load=1x", "does not fit"},
                                                       {"parts-of-line=256", "does not fit"},
                                                       {"parts-of-line=1.5", "does not fit"},
                                                       {"swing=40000", "does not fit"},
                                                       {"led=overlod", "did you mean overload?"},
                                                       {"led=0x100000000", "not a lamp"},
                                                       {"units=metrik", "did you mean metric?"},
                                                       {"colors=1,2,3", "takes 4 values"},
                                                       {"key-state=1", "takes no value"},
                                                       {"valid-keys=inf", "did you mean info?"},
                                                       {"valid-keys=info:x", "does not fit"},
                                                       {"texts=x", "name the field"},
                                                       {"line1-left=", "a blank"},
                                                       {"flash=", "a blank"},
                                                       {"raw=", "one byte"},
                                                       {"raw=0x07", "pairs"},
                                                       {"frame=18FF00D0", "IDENTIFIER#DATA"},
                                                       {"frame=123#R", "IDENTIFIER#DATA"}};
  for (const auto& [argument, text] : cases) {
    EXPECT_THAT([&] { Plan({argument}); }, testing::ThrowsMessage<host::usage_error>(HasSubstr(text)))
        << argument;
  }
}

TEST(OperatingValues, ComeBackFromTheirFileAndSurviveABrokenOne) {
  const auto directory = std::filesystem::temp_directory_path() / ("hx7-values-" + std::to_string(::getpid()));
  std::filesystem::create_directories(directory);
  host::OperatingValues values;
  values.Set("load", 12345.678F);
  values.Set("percent", 85.5);
  values.Set("led", 0x80000002);
  values.Set("swing", -75);
  host::SaveOperatingValues(directory, values);
  EXPECT_EQ(ToHex(host::LoadOperatingValues(directory).Encode()), ToHex(values.Encode()));

  std::ofstream(directory / "hx7.values") << "load\nradius=abc\nnothing=1\nangle=60\n=\n\xFF\xFE";
  values = host::LoadOperatingValues(directory);
  EXPECT_EQ(values.Get("angle"), 60);
  EXPECT_EQ(values.Get("radius"), 0);
  std::filesystem::remove_all(directory);
}

}  // namespace
