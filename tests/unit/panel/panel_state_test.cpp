#include "panel/panel_state.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace unit {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::Not;

class PanelStateTest : public testing::Test {
 protected:
  PanelStateTest() { Events(); }

  // What the reader was sent since the last call.
  std::string Events() {
    std::string text;
    stream_->Wait(text, 0ms);
    return text;
  }

  StreamHub hub_;
  std::shared_ptr<EventStream> stream_ = hub_.Open();
  PanelState state_{hub_, {}};
};

TEST_F(PanelStateTest, HandsOnEachStateOfTheBoardOnce) {
  state_.TakeBoard(R"({"keys": [true]})");
  EXPECT_EQ(Events(), "event: board\ndata: {\"keys\":[true]}\n\n");
  state_.TakeBoard(R"({"keys":[true]})");
  EXPECT_EQ(Events(), "");
  EXPECT_EQ(state_.Board(), R"({"keys":[true]})");
}

TEST_F(PanelStateTest, PassesOverWhatIsNoObjectAndKeepsAnEventOnItsLine) {
  for (const char* text : {"", "x", "[1]", "{\"a\":", "null"}) {
    state_.TakeBoard(text);
    state_.TakeBus(text);
    state_.TakeScreen(text);
  }
  EXPECT_EQ(Events(), "");
  state_.TakeBus("{\"a\":1,\n\n\"b\":2}");
  EXPECT_EQ(Events(), "event: bus\ndata: {\"a\":1,\"b\":2}\n\n");
}

TEST_F(PanelStateTest, HandsOnChangesThatFollowEachOtherOnly) {
  state_.TakeScreen(R"({"revision":5,"previous":4,"page":false})");
  EXPECT_THAT(Events(), Not(HasSubstr("event: change"))) << "what came before is not known";
  state_.TakeScreen(R"({"revision":6,"previous":5,"page":false})");
  EXPECT_THAT(Events(), HasSubstr("event: change"));
  for (const char* change :
       {R"({"revision":9,"previous":8,"page":false})", R"({"revision":10,"previous":9,"page":true})",
        R"({"revision":"x","previous":[],"page":3})"}) {
    state_.TakeScreen(change);
    EXPECT_THAT(Events(), Not(HasSubstr("event: change"))) << change;
  }
}

struct body_t {
  const char* text;
  bool good;
  bool down;
};

TEST(KeyRequest, IsAnObjectWithOneFlag) {
  for (const auto& [text, good, down] :
       {body_t{R"({"down":true})", true, true}, body_t{R"( {"down" : false} )", true, false},
        body_t{"", false, false}, body_t{"true", false, false}, body_t{R"({"down":1})", false, false},
        body_t{R"({"up":true})", false, false}, body_t{R"({"down":true,"more":1})", false, false},
        body_t{R"([{"down":true}])", false, false}}) {
    bool read = false;
    EXPECT_EQ(ReadKeyRequest(text, read), good) << text;
    EXPECT_EQ(read, down) << text;
  }
}

}  // namespace
}  // namespace unit
