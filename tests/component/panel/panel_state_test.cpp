// The states that the panel keeps, and the events that its streams carry.
#include "unit/panel/panel_state.h"

#include <gmock/gmock.h>

#include "tests/support/test_folder.h"
#include "unit/panel/stream_hub.h"

namespace unit {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::Not;

constexpr PanelState::TimePoint START{100s};

class PanelStateTest : public testing::Test {
 protected:
  PanelStateTest() { Events(); }

  // The events sent to the reader since the last call.
  std::string Events() {
    std::string text;
    stream_->Wait(text, 0ms);
    return text;
  }

  RuntimeDirectoryForTest directory_;  // where the panel finds no screen service
  StreamHub hub_;
  std::shared_ptr<EventStream> stream_ = hub_.Open();
  ScreenClient screen_{1s};
  PanelState state_{hub_, screen_, {}};
};

TEST_F(PanelStateTest, HandsOnEachStateOfTheBoardOnce) {
  state_.AcceptBoard(R"({"keys": [true]})", START);
  EXPECT_EQ(Events(), "event: board\ndata: {\"keys\":[true]}\n\n");
  state_.AcceptBoard(R"({"keys":[true]})", START);
  EXPECT_EQ(Events(), "");
  EXPECT_EQ(state_.Board(), R"({"keys":[true]})");
}

TEST_F(PanelStateTest, PassesOverWhatIsNoObjectAndKeepsAnEventOnItsLine) {
  for (const char* text : {"", "x", "[1]", "{\"a\":", "null"}) {
    state_.AcceptBoard(text, START);
    state_.AcceptBus(text);
    state_.AcceptScreen(text);
    EXPECT_EQ(Events(), "") << text;
  }
  state_.AcceptBus("{\"a\":1,\n\n\"b\":2}");
  EXPECT_EQ(Events(), "event: bus\ndata: {\"a\":1,\"b\":2}\n\n");
}

TEST_F(PanelStateTest, TellsAtOnceThatAServiceWentDownOrCameUp) {
  state_.Step(START, true);
  Events();
  for (const auto& [up, isTold] : {std::pair("true", true), {"true", false}, {"false", true}, {"true", true}}) {
    state_.AcceptHealth(R"({"name":"a","up":)" + std::string(up) + "}", START);
    state_.Step(START + 20ms, true);
    EXPECT_EQ(Events().find("event: health") != std::string::npos, isTold) << up;
  }
}

TEST_F(PanelStateTest, HandsOnChangesThatFollowEachOtherOnly) {
  state_.AcceptScreen(R"({"revision":5,"previous":4,"page":false})");
  EXPECT_THAT(Events(), Not(HasSubstr("event: change"))) << "the change before this one is not known";
  state_.AcceptScreen(R"({"revision":6,"previous":5,"page":false})");
  EXPECT_THAT(Events(), HasSubstr("event: change"));
  for (const char* change :
       {R"({"revision":9,"previous":8,"page":false})", R"({"revision":10,"previous":9,"page":true})",
        R"({"revision":"x","previous":[],"page":3})"}) {
    state_.AcceptScreen(change);
    EXPECT_THAT(Events(), Not(HasSubstr("event: change"))) << change;
  }
}

}  // namespace
}  // namespace unit
