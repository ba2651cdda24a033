#include "panel/stream_hub.h"

#include <gtest/gtest.h>

namespace unit {
namespace {

using namespace std::chrono_literals;
using Next = EventStream::Next;

constexpr auto NO_WAIT = 0ms;
constexpr auto LONG = 10s;

TEST(StreamHub, ANewReaderIsGivenTheFullStateFirst) {
  StreamHub hub;
  const auto stream = hub.Open();
  hub.Broadcast("board", "{}");
  std::string text;
  EXPECT_EQ(stream->Wait(text, LONG), Next::kFull);
  EXPECT_EQ(stream->Wait(text, LONG), Next::kEvents);
  EXPECT_EQ(text, "event: board\ndata: {}\n\n");
  EXPECT_EQ(stream->Wait(text, NO_WAIT), Next::kBeat);
}

TEST(StreamHub, AReaderThatFallsBehindStartsAnewAndDelaysNobody) {
  StreamHub hub;
  const auto slow = hub.Open();
  std::string text;
  slow->Wait(text, LONG);
  const std::string large(500'000, 'x');
  for (int i = 0; i < 5; ++i) hub.Broadcast("screen", large);
  EXPECT_EQ(slow->Wait(text, LONG), Next::kFull);
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
  EXPECT_EQ(streams.front()->Wait(text, LONG), Next::kClosed);
  EXPECT_EQ(hub.Open(), nullptr);
}

}  // namespace
}  // namespace unit
