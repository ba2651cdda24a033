// Expectations about the screen, as users write them.
#include "expect/expectation.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

namespace expect {
namespace {

using nlohmann::json;

json Shown() {
  return json::parse(R"({"state":"current","page":"Main","link":"heard","language":"english","beeper":"pulse",
    "brightness":40,"lamps":["front-winch","overload"],
    "texts":{"load":"12,300","radius":"35.4","swing":"FRONT","angle":"-----","percent":">999","swing":"-5",
             "line2":"LOST \"COM\" WITH","erected":"","stowed":"FLY"}})");
}

TEST(ExpectationTest, IsMetByWhatTheScreenShows) {
  struct case_t {
    const char* text;
    bool isMet;
  };
  for (const auto& [text, isMet] :
       {case_t{"load == 12300", true}, {"load==12,300", true},        {"  load 12300  ", true},
        {R"(load "12,300")", true},    {R"(load == "12300")", false}, {"load != 12300", false},
        {"load < 12300", false},       {"load <= 12300", true},       {"load > 12299.5", true},
        {"load>=12301", false},        {"radius 35.4", true},         {"swing < -4", true},
        {"angle == 0", false},         {"angle < 5", false},          {"angle >= 0", false},
        {"angle != 5", true},          {"percent > 100", false},      {R"(line2 has "\"COM\" W")", true},
        {"line2 has LOST", true},      {"line2 LOST", false},         {"load has 2", true},
        {R"(erected "")", true},       {"stowed == FLY", true},       {"stowed != FLY", false},
        {"page Main", true},           {"page == Wad", false},        {"page != Wad", true},
        {"beeper pulse", true},        {"link == lost", false},       {"language != russian", true},
        {"brightness >= 40", true},    {"brightness 41", false},      {"lamp overload", true},
        {"lamp a2b", false},           {"no lamp overload", false},   {"no lamp link-lost", true}}) {
    EXPECT_EQ(Expectation(text).IsMet(Shown()), isMet) << text;
  }
}

TEST(ExpectationTest, SaysWhatIsWrongWithItAndWhatWouldBeRight) {
  struct case_t {
    const char* text;
    const char* problem;
  };
  for (const auto& [text, problem] : {
           case_t{" ", "missing, such as load == 12300"},
           {"lod == 1", "\"lod\" is nothing that the screen shows; did you mean load?"},
           {"xyz == 1", "; there are load, capacity"},
           {"load", "what is load compared with?"},
           {"load ==", "what is load compared with?"},
           {"load = 5", "\"=\" is no comparison; write =="},
           {"load == 12 300", "\"300\" is too much"},
           {R"(line1 has "AB)", "the quote is not closed: \"AB"},
           {"load < heavy", "\"heavy\" is none"},
           {R"(load < "5")", "\"5\" is none"},
           {"page > 3", "page is none"},
           {"brightness full", "brightness is a number"},
           {"link == lot", "\"lot\" is no value of link; did you mean lost?"},
           {"beeper loud", "no value of beeper; there are silent, beep, pulse, steady"},
           {"lamp overlod", "\"overlod\" is no lamp; did you mean overload?"},
           {"lamp overload now", "\"now\" is too much"},
           {"no load", "after \"no\" comes lamp NAME"},
       }) {
    try {
      Expectation{text};
      ADD_FAILURE() << text;
    } catch (const std::invalid_argument& error) {
      EXPECT_THAT(error.what(), testing::HasSubstr(problem)) << text;
    }
  }
}

TEST(ExpectationTest, SaysWhatStoodThere) {
  json old = Shown();
  old["state"] = "old";
  EXPECT_EQ(Expectation("load 5").Describe(old), "load was \"12,300\" on the page Main, whose data were old");
  EXPECT_EQ(Expectation("erected FLY").Describe(Shown()), "erected was not shown on the page Main");
  EXPECT_EQ(Expectation("page Wad").Describe(Shown()), "page was Main");
  EXPECT_EQ(Expectation("lamp a2b").Describe(Shown()),
            "the lamp a2b was dark; lit: front-winch, overload on the page Main");
  EXPECT_EQ(Expectation("no lamp overload").Describe(Shown()), "the lamp overload was lit on the page Main");
}

TEST(ExpectationTest, IsNotMetByAnAnswerOfAnotherKind) {
  for (const char* text : {"null", "[]", "{}", R"({"texts":3,"lamps":"overload","page":{}})"}) {
    const json shown = json::parse(text);
    for (const char* wanted : {"load 5", "lamp overload", "page Main", "load < 3"}) {
      const Expectation expectation(wanted);
      EXPECT_FALSE(expectation.IsMet(shown)) << wanted << text;
      EXPECT_NE(expectation.Describe(shown), "");
    }
  }
}

}  // namespace
}  // namespace expect
