// The messages for mistakes in a scenario file, and the bound of the queue of requests.
#include "host/simulate/scenario.h"

#include <sstream>

#include <gmock/gmock.h>

#include "host/protocol/errors.h"
#include "host/simulate/simulation_commands.h"

namespace simulate {
namespace {

scenario_t Parse(const std::string& text) {
  std::istringstream in(text);
  return ParseScenario(in, "some/a.scenario");
}

TEST(ScenarioTest, SaysWhereAMistakeStandsAndWhatWouldBeRight) {
  const std::pair<const char*, const char*> cases[] = {
      {"0 bom angle 45", "1: \"bom\" is not an action; hx7 simulate --help lists them; did you mean boom?"},
      {"\n0 boom angel 45", "2: \"angel\" is not one of angle length"},
      {"0 boom angle", "1: boom takes angle DEGREES | length METRES"},
      {"0 boom angle 81", "1: \"81\" is not a number from -2 to 80 deg"},
      {"0 boom angle 45m", "1: \"45m\" is not a number"},
      {"0 boom length 120ft", "1: \"120ft\" is not a number from 10.7 to 33.5 m"},
      {"0 load nan", "1: \"nan\" is not a number"},
      {"0 base extnded", "did you mean extended?"},
      {"0 key inffo", "did you mean info?"},
      {"0 key none", "1: \"none\" is not one of boom-mode"},
      {"0 press 9", "1: \"9\" is not a whole number from 1 to 8"},
      {"0 parts 0", "1: \"0\" is not a whole number from 1 to 12"},
      {"0 language klingon", "1: \"klingon\" is not one of english"},
      {"0 send radiu=3", "did you mean radius?"},
      {"0 send beeper=300", "1: beeper=300: \"300\" does not fit"},
      {"0 hoist hold", "1: hoist hold needs a height"},
      {"0 limit angle 20 99", "1: \"99\" is not a number"},
      {"0 control-unit engin on", "did you mean engine?"},
      {"0 trouble-code 254 100 1", "1: \"254\" is not a whole number from 0 to 253"},
      {"0 trouble-code engine 100 1 off 3", "1: \"off\" is not one of malfunction stop"},
      {"0 stop now", "1: stop takes nothing"},
      {"0 expect page Wad within x", "1: \"x\" is not a time; within takes seconds"},
      {"0 expect lamp overlod", "did you mean overload?"},
      {"0 expect reply key-stat", "did you mean key-state?"},
      {"0 expect reply key-state kee=info", "did you mean key?"},
      {"0 expect picture ../a.png", "1: picture takes the name of a PNG file beside the scenario"},
      {"0 stop\nspeed 2", "2: speed stands before the first action"},
      {"speed 0.5", "1: \"0.5\" is not a number from 1 to 100 times"},
      {"0 say \"open", "1: a quote \" is not closed"},
      {"x stop", "1: \"x\" is not a time"},
      {"-1 stop", "1: \"-1\" is not a time"},
      {"1e99 stop", "1: \"1e99\" is not a time"},
      {"5", "1: an action must follow the time"},
      {"5 stop\n4 stop", "2: the time 4 is before the time of the line above"},
      {"0 repeat", "1: repeat takes no argument and needs a time above 0"},
      {"5 repeat\n6 stop", "2: nothing may follow repeat"},
  };
  for (const auto& [text, problem] : cases) {
    EXPECT_THAT([text = text] { Parse(text); },
                testing::ThrowsMessage<host::UsageError>(
                    testing::AllOf(testing::StartsWith("some/a.scenario:"), testing::HasSubstr(problem))))
        << text;
  }
}

TEST(RequestsTest, AreBounded) {
  CommandQueue queue;
  int taken = 0;
  while (taken < 1000 && queue.Post(manual_control_t{})) ++taken;
  EXPECT_EQ(taken, 256);
  EXPECT_EQ(queue.Drain().size(), 256U);
  EXPECT_TRUE(queue.Post(manual_control_t{}));
}

}  // namespace
}  // namespace simulate
