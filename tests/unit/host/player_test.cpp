#include "host/player.h"

#include <deque>

#include <gmock/gmock.h>

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using TimePoint = host::Schedule::TimePoint;

constexpr TimePoint kBegin{1h};

// A world whose time passes only where it is told to: in waits, and as long as sending takes.
struct World {
  TimePoint now = kBegin;
  std::chrono::microseconds sendTakes{0};
  std::size_t stopAfter = 1'000'000;
  std::size_t holdAt = 1'000'000;  // frames after which somebody holds the log
  TimePoint::duration holdFor{};
  std::vector<std::int64_t> sentAt_us;

  host::stage_t Stage() {
    return {
        .now = [this] { return now; },
        .waitUntil = [this](TimePoint when) -> std::optional<TimePoint::duration> {
          if (sentAt_us.size() >= stopAfter) return std::nullopt;
          const auto held = sentAt_us.size() == holdAt ? holdFor : TimePoint::duration{};
          now = std::max(now, when + held);
          return held;
        },
        .send =
            [this](const bus::frame_t&) {
              sentAt_us.push_back(std::chrono::duration_cast<std::chrono::microseconds>(now - kBegin).count());
              now += sendTakes;
              return true;
            },
        .progress = [] {},
        .moveKey = {}};
  }
};

std::function<std::optional<host::happening_t>()> Frames(std::vector<std::uint64_t> stamps_us) {
  return
      [stamps = std::deque(stamps_us.begin(), stamps_us.end())]() mutable -> std::optional<host::happening_t> {
        if (stamps.empty()) return std::nullopt;
        const bus::frame_t frame{.identifier = 1, .time_us = stamps.front()};
        stamps.pop_front();
        return frame;
      };
}

std::vector<std::int64_t> PlayAll(World& world, double speed, const std::vector<std::uint64_t>& stamps_us) {
  host::Schedule schedule(kBegin, speed);
  host::played_t played;
  host::Play(Frames(stamps_us), schedule, false, world.Stage(), played);
  return world.sentAt_us;
}

TEST(Play, KeepsThePaceOfTheRecordingAtItsSpeed) {
  const std::vector<std::uint64_t> stamps = {1'000'000, 1'010'000, 1'010'000, 3'000'000};
  EXPECT_THAT(PlayAll(*std::make_unique<World>(), 1, stamps), ElementsAre(0, 10'000, 10'000, 2'000'000));
  EXPECT_THAT(PlayAll(*std::make_unique<World>(), 4, stamps), ElementsAre(0, 2'500, 2'500, 500'000));
  EXPECT_THAT(PlayAll(*std::make_unique<World>(), 0, stamps), ElementsAre(0, 0, 0, 0));
  // A clock that goes backward takes no time at all.
  EXPECT_THAT(PlayAll(*std::make_unique<World>(), 1, {5'000'000, 5'001'000, 1'000'000, 1'002'000}),
              ElementsAre(0, 1'000, 1'000, 3'000));
}

TEST(Play, DoesNotDriftHoweverLongSendingTakes) {
  World world;
  world.sendTakes = 900us;
  std::vector<std::uint64_t> stamps;
  for (std::uint64_t i = 0; i < 100'000; ++i) stamps.push_back(i * 1'000);
  const auto sent = PlayAll(world, 3, stamps);  // a third of a millisecond is no whole number of microseconds
  EXPECT_GT(sent.back(), 33'333'000);  // 900 us a frame are too slow for it: it falls behind, and catches up
  World quick;
  quick.sendTakes = 300us;
  EXPECT_EQ(PlayAll(quick, 3, stamps).back(), 33'333'000);
}

TEST(Play, GoesOnFromWhereTheBusWasLost) {
  World world;
  host::Schedule schedule(kBegin, 1);
  host::played_t played;
  auto stage = world.Stage();
  const auto send = stage.send;
  stage.send = [&, first = true](const bus::frame_t& frame) mutable {
    send(frame);
    if (std::exchange(first, false)) world.now += 8s;  // gone, and back
    return true;
  };
  host::Play(Frames({0, 10'000, 20'000}), schedule, false, stage, played);
  EXPECT_THAT(world.sentAt_us, ElementsAre(0, 8'010'000, 8'020'000));
}

TEST(Play, PutsOffAllThatFollowsAfterAPause) {
  World world;
  world.holdAt = 2;
  world.holdFor = 5s;
  EXPECT_THAT(PlayAll(world, 2, {0, 10'000, 20'000, 30'000}), ElementsAre(0, 5'000, 5'010'000, 5'015'000));
}

TEST(Play, LoopsWithoutAGapAndStopsWhenTold) {
  World world;
  world.stopAfter = 5;
  host::Schedule schedule(kBegin, 1);
  host::played_t played;
  while (host::Play(Frames({7'000, 8'000}), schedule, false, world.Stage(), played)) schedule.Rewind();
  EXPECT_THAT(world.sentAt_us, ElementsAre(0, 1'000, 1'000, 2'000, 2'000));
  EXPECT_EQ(played.frames, 5U);
}

}  // namespace
