// Scenarios and requests from outside on a load computer with the load chart and the scenarios of config/.
#include <sstream>

#include <gmock/gmock.h>

#include "host/protocol/errors.h"
#include "host/simulate/simulation_commands.h"
#include "host/simulate/state_json.h"
#include "tests/support/host_run.h"

namespace simulate {
namespace {

using testing::ElementsAre;

scenario_t Parse(const std::string& text) {
  std::istringstream in(text);
  return ParseScenario(in, "some/a.scenario");
}

TEST(ScenarioTest, CarriesOutEachLineAtItsTime) {
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
  EXPECT_THAT(run.lines, ElementsAre("start", "two  words", "start"))
      << "the scenario repeats after ten seconds";
  EXPECT_EQ(Parse("# What it shows.\n0 stop\n").about, "What it shows.");
  EXPECT_EQ(Parse("").name, "a");
}

TEST(ScenarioTest, TakesOtherUnits) {
  HostRun run;
  run.Do("hoist hold 3ft");
  run.Do("boom length 50ft");
  run.Do("load 10000lbs");
  run.Pass(30);
  EXPECT_NEAR(run.computer.Crane().Length(), 15.24, 1e-9);
  EXPECT_NEAR(run.computer.Crane().NetLoad(), 4535.9237, 1e-9);
}

TEST(RequestsTest, AreReadOrRefused) {
  const ConfigFiles shelf(SOURCE_FOLDER "/config");
  EXPECT_TRUE(std::holds_alternative<crane_action_t>(ReadDo(R"({"do":"boom angle 45"})", shelf)));
  EXPECT_EQ(std::get<scenario_t>(ReadDo(R"({"do":"scenario overload"})", shelf)).name, "overload");
  EXPECT_EQ(std::get<scenario_t>(ReadDo(R"({"do":"scenario none"})", shelf)).lines.size(), 0U);
  EXPECT_EQ(
      std::get<manual_control_t>(ReadControls(R"({"angle":45,"load":5000.5,"swing":-20})")).actions.size(), 3U);
  for (const char* body : {"", "[]", "{}", "{", R"({"do":5})", R"({"do":""})", R"({"do":"fly away"})",
                           R"({"do":"stop","more":1})", R"({"do":"scenario ../../etc/passwd"})"}) {
    EXPECT_THROW(ReadDo(body, shelf), host::UsageError) << body;
  }
  for (const char* body :
       {"{}", R"({"angle":"45"})", R"({"angle":1000})", R"({"height":4})", R"({"load":-1})"}) {
    EXPECT_THROW(ReadControls(body), host::UsageError) << body;
  }
}

}  // namespace
}  // namespace simulate
