// What a scenario file or a request from outside may say: its time, and its mistakes.
#include <sstream>

#include <gmock/gmock.h>

#include "host/protocol/errors.h"
#include "host/simulate/control.h"
#include "host/simulate/state_json.h"
#include "tests/support/host_run.h"

namespace simulate {
namespace {

using testing::ElementsAre;

scenario_t Parse(const std::string& text) {
  std::istringstream in(text);
  return ParseScenario(in, "some/a.scenario");
}

TEST(Scenario, CarriesOutEachLineAtItsTime) {
  HostRun run(1,
              Parse("# What it shows.\n\n0 say start\n2.5 press 3 # a comment\n+1 say \"two  words\" # more\n"
                    "+0 boom angle 20deg\n10 repeat\n"));
  run.Pass(2.49);
  EXPECT_THAT(run.lines, ElementsAre("start"));
  run.Pass(0.05);
  EXPECT_THAT(run.presses, ElementsAre(3));
  run.Pass(1);
  EXPECT_THAT(run.lines, ElementsAre("start", "two  words"));
  run.Pass(8);
  EXPECT_THAT(run.lines, ElementsAre("start", "two  words", "start")) << "after ten seconds again";
  EXPECT_EQ(Parse("# What it shows.\n0 stop\n").about, "What it shows.");
  EXPECT_EQ(Parse("").name, "a");
}

TEST(Scenario, SaysWhereAMistakeStandsAndWhatWouldBeRight) {
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
      {"0 stop now", "1: stop takes nothing"},
      {"0 say \"open", "1: a quote \" does not end"},
      {"x stop", "1: \"x\" is no time"},
      {"-1 stop", "1: \"-1\" is no time"},
      {"1e99 stop", "1: \"1e99\" is no time"},
      {"5", "1: a time without an action"},
      {"5 stop\n4 stop", "2: the time 4 is before that of the line above"},
      {"0 repeat", "1: repeat takes nothing, and a time above 0"},
      {"5 repeat\n6 stop", "2: nothing may follow repeat"},
  };
  for (const auto& [text, problem] : cases) {
    EXPECT_THAT([text = text] { Parse(text); },
                testing::ThrowsMessage<host::UsageError>(
                    testing::AllOf(testing::StartsWith("some/a.scenario:"), testing::HasSubstr(problem))))
        << text;
  }
}

TEST(Scenario, TakesOtherUnits) {
  HostRun run;
  run.Do("hoist hold 3ft");
  run.Do("boom length 50ft");
  run.Do("load 10000lbs");
  run.Pass(30);
  EXPECT_NEAR(run.computer.Crane().Length(), 15.24, 1e-9);
  EXPECT_NEAR(run.computer.Crane().NetLoad(), 4535.9237, 1e-9);
}

TEST(Requests, AreReadOrRefused) {
  const Shelf shelf(SOURCE_FOLDER "/config");
  EXPECT_TRUE(std::holds_alternative<action_t>(ReadDo(R"({"do":"boom angle 45"})", shelf)));
  EXPECT_EQ(std::get<scenario_t>(ReadDo(R"({"do":"scenario overload"})", shelf)).name, "overload");
  EXPECT_EQ(std::get<scenario_t>(ReadDo(R"({"do":"scenario none"})", shelf)).lines.size(), 0U);
  EXPECT_EQ(std::get<by_hand_t>(ReadControls(R"({"angle":45,"load":5000.5,"swing":-20})")).actions.size(), 3U);
  for (const char* body : {"", "[]", "{}", "{", R"({"do":5})", R"({"do":""})", R"({"do":"fly away"})",
                           R"({"do":"stop","more":1})", R"({"do":"scenario ../../etc/passwd"})"}) {
    EXPECT_THROW(ReadDo(body, shelf), host::UsageError) << body;
  }
  for (const char* body :
       {"{}", R"({"angle":"45"})", R"({"angle":1000})", R"({"height":4})", R"({"load":-1})"}) {
    EXPECT_THROW(ReadControls(body), host::UsageError) << body;
  }
}

TEST(Requests, AreBounded) {
  ControlQueue queue;
  int taken = 0;
  while (taken < 1000 && queue.Push(by_hand_t{})) ++taken;
  EXPECT_EQ(taken, 256);
  EXPECT_EQ(queue.Take().size(), 256U);
  EXPECT_TRUE(queue.Push(by_hand_t{}));
}

}  // namespace
}  // namespace simulate
