#include "host/protocol/send_plan.h"

#include <iterator>
#include <sstream>

#include <gmock/gmock.h>

#include "host/protocol/errors.h"
#include "tests/support/hex.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::vector<std::string> FramesOf(const host::plan_t& plan) {
  std::vector<std::string> frames;
  for (const host::send_step_t& step : plan.steps) {
    for (const bus::frame_t& frame : step.frames) frames.push_back(ToHex(frame.Bytes()));
  }
  return frames;
}

host::plan_t Plan(const std::vector<std::string>& arguments) {
  host::Cmd2Values values;
  return host::PlanSend(arguments, values);
}

std::vector<std::string> Words(const std::string& text) {
  std::istringstream in(text);
  return {std::istream_iterator<std::string>(in), {}};
}

TEST(SendPlanTest, SendsEachCommandByName) {
  // Arguments and the bytes of their messages. Each message fits one frame, which is padded.
  for (const std::string& word : Words(
           "beeper=20:0414 beeper=continuous:04FF units=metric:070B01 units=0x02:070B02 "
           "language=russian:070D04 "
           "transition=wad-to-main:070F00 swing-mode=2:071302 swing-mode=360:071304 erected-icon=1:071001 "
           "colors=1,0,dark,yellow:071201000002 stowed-icon=1:071101 protocol-version=1:0801 encryption=1:0901 "
           "select-mode=on:070E01 display-type=3:070C03 display-mode=units:070801 key-state:06 "
           "program-name:0703 "
           "program-date:0704 file-id:0705 lcd-status:0707 led-brightness:0709 raw=0714:0714 "
           "flash=A:030003000041")) {
    const std::size_t colon = word.find(':');
    std::string frame = "00 01";
    for (std::size_t at = colon + 1; frame.size() < 23; at += 2) {
      frame += " " + (at < word.size() ? word.substr(at, 2) : "FF");
    }
    EXPECT_THAT(FramesOf(Plan({word.substr(0, colon)})), ElementsAre(frame)) << word;
  }
  EXPECT_THAT(FramesOf(Plan({"frame=18FF00D0#0001"})), ElementsAre("00 01"));
  // 23 masks: boom mode (1) has mask 5, info (18) the default mask 7F.
  EXPECT_THAT(FramesOf(Plan({"valid-keys=boom-mode:5,info"})),
              ElementsAre("00 04 07 01 17 00 05 00", "01 00 00 00 00 00 00 00", "02 00 00 00 00 00 00 00",
                          "03 00 7F 00 00 00 00 FF"));
}

TEST(SendPlanTest, GathersValuesAndTextsWhereTheFirstStands) {
  host::Cmd2Values values;
  values.Set("load", 1);
  const std::vector<std::string> arguments = {"units=1",  "radius=2",         "line1-center=A",
                                              "beeper=1", "led=prealarm,a2b", "stowed=B"};
  const host::plan_t plan = host::PlanSend(arguments, values);
  ASSERT_EQ(plan.steps.size(), 4U);
  EXPECT_TRUE(plan.sendsValues);
  EXPECT_EQ(ToHex(plan.steps[1].frames[1].Bytes()),
            "01 3F 80 00 00 40 00 00");  // the earlier load, and radius 2
  EXPECT_EQ(ToHex(plan.steps[1].frames[4].Bytes()), "04 05 00 00 00 00 00 00");
  EXPECT_EQ(ToHex(plan.steps[2].frames[0].Bytes()), "00 02 05 00 0A 00 03 00");
  EXPECT_EQ(ToHex(plan.steps[2].frames[1].Bytes()), "01 11 41 00 03 00 1E 42");
  EXPECT_EQ(ToHex(plan.steps[3].frames[0].Bytes()), "00 01 04 01 FF FF FF FF");
}

TEST(SendPlanTest, RefusesWhatItCannotSendAndSaysWhatWouldBeRight) {
  const std::pair<const char*, const char*> cases[] = {
      {"did you mean load?", "lod=3"},
      {"did you mean overload?", "led=overlod"},
      {"did you mean metric?", "units=metrik"},
      {"did you mean info?", "valid-keys=inf"},
      {"--list", "qqqqqqqq=3"},
      {"load=...", "load"},
      {"does not fit", "load=1x parts-of-line=256 parts-of-line=1.5 swing=40000 valid-keys=info:x"},
      {"not a lamp", "led=0x100000000"},
      {"takes 4 values", "colors=1,2,3"},
      {"takes no value", "key-state=1"},
      {"name the field", "texts=x"},
      {"a blank", "line1-left= flash="},
      {"one byte", "raw="},
      {"pairs", "raw=0x07"},
      {"IDENTIFIER#DATA", "frame=18FF00D0 frame=123#R"}};
  for (const auto& [text, arguments] : cases) {
    for (const std::string& argument : Words(arguments)) {
      EXPECT_THAT([&] { Plan({argument}); }, testing::ThrowsMessage<host::UsageError>(HasSubstr(text)))
          << argument;
    }
  }
}

}  // namespace
