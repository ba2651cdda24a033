// Requests from outside: what they carry, and where they may come from.
#include "simulate/control.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "host/errors.h"
#include "simulate/state_json.h"
#include "tests/unit/simulate/host_run.h"

namespace simulate {
namespace {

TEST(Requests, AreReadOrRefused) {
  const Shelf shelf(CONFIG);
  EXPECT_TRUE(std::holds_alternative<action_t>(ReadDo(R"({"do":"boom angle 45"})", shelf)));
  EXPECT_EQ(std::get<scenario_t>(ReadDo(R"({"do":"scenario overload"})", shelf)).name, "overload");
  EXPECT_EQ(std::get<scenario_t>(ReadDo(R"({"do":"scenario none"})", shelf)).lines.size(), 0U);
  EXPECT_EQ(std::get<by_hand_t>(ReadControls(R"({"angle":45,"load":5000.5,"swing":-20})")).actions.size(), 3U);
  for (const char* body : {"", "[]", "{}", "{", R"({"do":5})", R"({"do":""})", R"({"do":"fly away"})",
                           R"({"do":"stop","more":1})", R"({"do":"scenario ../../etc/passwd"})"}) {
    EXPECT_THROW(ReadDo(body, shelf), host::usage_error) << body;
  }
  for (const char* body :
       {"{}", R"({"angle":"45"})", R"({"angle":1000})", R"({"height":4})", R"({"load":-1})"}) {
    EXPECT_THROW(ReadControls(body), host::usage_error) << body;
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

TEST(State, TellsEverythingThatThePanelShows) {
  HostRun run;
  run.Do("fault angle-sensor");
  run.Do("limit radius 12");
  run.Do("language russian");
  run.Pass(2);
  const std::vector<std::string> scenarios = {"one", "two"};
  const auto state = nlohmann::json::parse(StateJson(run.computer.State(), scenarios));
  EXPECT_EQ(state["time"], 2.0);
  EXPECT_TRUE(state["crane"]["angle"].is_null());
  EXPECT_EQ(state["limits"]["radius"]["most"], 12.0);
  EXPECT_EQ(state["language"], "russian");
  EXPECT_EQ(state["faults"]["present"], nlohmann::json({"angle-sensor"}));
  EXPECT_EQ(state["texts"]["stowed"], "ГУСЁК");
  EXPECT_EQ(state["configuration"]["base"], "tires");
  EXPECT_EQ(state["scenarios"].size(), 2U);
}

}  // namespace
}  // namespace simulate
