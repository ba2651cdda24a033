// What the panel keeps and hands on: who is well, the last states, and a stream for each reader.
#include <gmock/gmock.h>

#include "unit/panel/health_book.h"
#include "unit/panel/panel_state.h"
#include "unit/panel/stream_hub.h"

namespace unit {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::Not;

constexpr HealthBook::time_t START{100s};

TEST(HealthBook, IsUpWhileEverybodyIsAndIsHeard) {
  HealthBook book;
  EXPECT_TRUE(book.Report("", START).up);
  EXPECT_FALSE(book.Report("no notification manager", START).up);
  book.Take(R"({"name":"a","up":true,"detail":"fine","counters":{"x":1}})", START);
  EXPECT_TRUE(book.Report("", START + 3s).up);
  const auto silent = book.Report("", START + 3s + 1ms);
  EXPECT_FALSE(silent.up);
  EXPECT_THAT(silent.json, HasSubstr(R"("state":"silent")"));
  book.Take(R"({"name":"a","up":true})", START + 10s);
  EXPECT_TRUE(book.Report("", START + 10s).up);
  book.Take(R"({"name":"b","up":false,"detail":"gone"})", START + 10s);
  EXPECT_FALSE(book.Report("", START + 10s).up);
  EXPECT_THAT(book.Report("", START + 10s).json, HasSubstr(R"("state":"down")"));
}

TEST(HealthBook, PassesOverWhatIsNoReportAndBoundsTheRest) {
  HealthBook book;
  for (const char* text :
       {"", "x", "[]", "1", R"({"up":false})", R"({"name":1,"up":false})", R"({"name":"a","up":0})"}) {
    book.Take(text, START);
  }
  EXPECT_TRUE(book.Report("", START).up);
  for (int i = 0; i < 200; ++i) book.Take(R"({"name":")" + std::to_string(i) + R"(","up":true})", START);
  book.Take(R"({"name":"late","up":false})", START);
  EXPECT_TRUE(book.Report("", START).up);
}

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

using Next = EventStream::next_t;

constexpr auto LONG = 10s;

TEST(StreamHub, AReaderThatFallsBehindStartsAnewAndDelaysNobody) {
  StreamHub hub;
  const auto slow = hub.Open();
  std::string text;
  slow->Wait(text, LONG);
  const std::string large(500'000, 'x');
  for (int i = 0; i < 5; ++i) hub.Broadcast("screen", large);
  EXPECT_EQ(slow->Wait(text, LONG), Next::FULL);
  EXPECT_TRUE(text.empty());
}

TEST(StreamHub, StreamsAreCappedAndGivenBack) {
  StreamHub hub;
  std::vector<std::shared_ptr<EventStream>> streams;
  for (std::size_t i = 0; i < StreamHub::MAX_STREAMS; ++i) streams.push_back(hub.Open());
  EXPECT_EQ(hub.Open(), nullptr);
  hub.Release(streams.back());
  EXPECT_NE(hub.Open(), nullptr);
  hub.CloseAll();
  std::string text;
  EXPECT_EQ(streams.front()->Wait(text, LONG), Next::CLOSED);
  EXPECT_EQ(hub.Open(), nullptr);
}

}  // namespace
}  // namespace unit
