// The panel's record of the health of all services, and the event streams of its readers.
#include <gmock/gmock.h>

#include "unit/panel/health_book.h"
#include "unit/panel/key_holder.h"
#include "unit/panel/stream_hub.h"

namespace unit {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

constexpr HealthBook::TimePoint START{100s};

TEST(HealthBookTest, IsUpWhileEverybodyIsAndIsHeard) {
  HealthBook book;
  EXPECT_TRUE(book.Report("", START).up);
  EXPECT_FALSE(book.Report("no notification manager", START).up);
  book.Accept(R"({"name":"a","up":true,"detail":"fine","counters":{"x":1}})", START);
  EXPECT_TRUE(book.Report("", START + 3s).up);
  const auto silent = book.Report("", START + 3s + 1ms);
  EXPECT_FALSE(silent.up);
  EXPECT_THAT(silent.json, HasSubstr(R"("state":"silent")"));
  book.Accept(R"({"name":"a","up":true})", START + 10s);
  EXPECT_TRUE(book.Report("", START + 10s).up);
  book.Accept(R"({"name":"b","up":false,"detail":"gone"})", START + 10s);
  EXPECT_FALSE(book.Report("", START + 10s).up);
  EXPECT_THAT(book.Report("", START + 10s).json, HasSubstr(R"("state":"down")"));
}

TEST(HealthBookTest, PassesOverWhatIsNoReportAndBoundsTheRest) {
  HealthBook book;
  for (const char* text :
       {"", "x", "[]", "1", R"({"up":false})", R"({"name":1,"up":false})", R"({"name":"a","up":0})"}) {
    book.Accept(text, START);
    EXPECT_TRUE(book.Report("", START).up) << text;
  }
  for (int i = 0; i < 200; ++i) book.Accept(R"({"name":")" + std::to_string(i) + R"(","up":true})", START);
  book.Accept(R"({"name":"late","up":false})", START);
  EXPECT_TRUE(book.Report("", START).up);
}

TEST(KeyHolderTest, ReadsOneKeyOrSeveral) {
  struct case_t {
    const char* text;
    std::uint32_t keys;
  };
  for (const auto& [text, keys] : {case_t{"1", 0x01},
                                   {"8", 0x80},
                                   {"1+8", 0x81},
                                   {"3+2+3", 0x06},
                                   {"", 0},
                                   {"0", 0},
                                   {"9", 0},
                                   {"12", 0},
                                   {"1+", 0},
                                   {"+1", 0},
                                   {"1-2", 0},
                                   {"1++2", 0}}) {
    EXPECT_EQ(ReadKeys(text), keys) << text;
  }
}

using Next = EventStream::next_t;

constexpr auto LONG = 10s;

TEST(StreamHubTest, AReaderThatFallsBehindStartsAnewAndDelaysNobody) {
  StreamHub hub;
  const auto slow = hub.Open();
  std::string text;
  slow->Wait(text, LONG);
  const std::string large(500'000, 'x');
  for (int i = 0; i < 5; ++i) hub.Broadcast("screen", large);
  EXPECT_EQ(slow->Wait(text, LONG), Next::FULL);
  EXPECT_TRUE(text.empty());
}

TEST(StreamHubTest, WhatFollowsAChangeOfTheScreenWaitsForTheNextGroup) {
  StreamHub hub;
  const auto stream = hub.Open();
  std::string text;
  stream->Wait(text, LONG);  // the full state
  hub.Broadcast("change", "1");
  const auto sent = std::chrono::steady_clock::now();
  EXPECT_EQ(stream->Wait(text, LONG), Next::EVENTS);
  hub.Broadcast("bus", "2");
  EXPECT_EQ(stream->Wait(text, LONG), Next::EVENTS);
  EXPECT_GE(std::chrono::steady_clock::now() - sent, 33ms);
  EXPECT_EQ(text, StreamHub::Format("change", "1") + StreamHub::Format("bus", "2"));
}

TEST(StreamHubTest, StreamsAreCappedAndGivenBack) {
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
