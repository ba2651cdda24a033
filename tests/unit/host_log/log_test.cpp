// The formats of bus logs that are read, and the times at which their frames are played.
#include <cstdlib>
#include <ctime>
#include <deque>
#include <sstream>

#include <gmock/gmock.h>

#include "bus/log_lines.h"
#include "host/log/log_reader.h"
#include "host/log/player.h"
#include "host/protocol/errors.h"

namespace {

std::vector<std::string> Read(const std::string& text, std::uint64_t* skipped = nullptr) {
  std::istringstream in(text);
  host::LogReader reader(in);
  std::vector<std::string> lines;
  while (const auto frame = reader.Next()) lines.push_back(bus::FormatLogLine(*frame, "-"));
  if (skipped != nullptr) *skipped = reader.Skipped();
  return lines;
}

TEST(LogReaderTest, ReadsWhatOtherProgramsWrite) {
  ::setenv("TZ", "UTC-2", 1);
  ::tzset();
  const std::pair<const char*, const char*> cases[] = {
      // candump -L and -l, with -x; python-can's canutils writer
      {"(1436509052.249713) vcan0 18FF00D0#0001060000000000",
       "(1436509052.249713) - 18FF00D0#0001060000000000"},
      {"(1436509052.249713) vcan0 123#0102 R", "(1436509052.249713) - 123#0102"},
      {"(1436509052.249713) vcan0 18ff00d0#000106ff T", "(1436509052.249713) - 18FF00D0#000106FF"},
      // candump -ta, -tz, -x, -a, -tA
      {" (1436509052.249713)  vcan0  18FF00D0   [8]  00 01 06 00 00 00 00 00",
       "(1436509052.249713) - 18FF00D0#0001060000000000"},
      {" (000.000560)  can0  TX B -  123   [2]  01 02", "(0.000560) - 123#0102"},
      {" (1.5)  can0  123   [2]  41 42   'AB'", "(1.500000) - 123#4142"},
      {" (1.5)  can0  123   [0] ", "(1.500000) - 123#"},
      {" (2015-07-10 08:17:32.249713)  vcan0  123   [1]  07", "(1436509052.249713) - 123#07"},
      // python-can's ASC, log2asc's
      {"  12.003960 1  18FF00D0x       Rx   d 8 00 01 06 FF FF FF FF FF",
       "(12.003960) - 18FF00D0#000106FFFFFFFFFF"},
      {"   0.1000 1  7B              Tx   d 2 01 02  Length = 0 BitCount = 0", "(0.100000) - 07B#0102"},
      // python-can's CSV
      {"1436509052.2497132,0x18ff00d0,1,0,0,8,AAEGAAAAAAA=", "(1436509052.249713) - 18FF00D0#0001060000000000"},
      {"1.5,0x7b,0,0,0,2,AQI=\r", "(1.500000) - 07B#0102"},
      {"1.5,0x7b,0,0,0,0,", "(1.500000) - 07B#"},
      // PEAK's TRC, versions 1.0 to 2.1, and python-can's short 29-bit identifiers
      {"    1)      1500  18FF00D0 3 00 01 06\r", "(1.500000) - 18FF00D0#000106"},
      {";$FILEVERSION=1.1\r\n;$STARTTIME=42195.3460908478\n 1)    249.7 Rx  0123 2 01 02",
       "(1436509102.498700) - 123#0102"},
      {";$FILEVERSION=1.2\n1) 1500.25 1  Tx 018FF00D 1  07", "(1.500250) - 018FF00D#07"},
      {";$FILEVERSION=1.3\n1) 1500.123 1 Rx 0123 - 0", "(1.500123) - 123#"},
      {";$FILEVERSION=2.0\n 1 1500.123 DT 18FF00D0 Rx 1 07", "(1.500123) - 18FF00D0#07"},
      {";$FILEVERSION=2.1\n 1 1500.1239 DT 1 18FF00D0 Rx - 1 07", "(1.500123) - 18FF00D0#07"},
      {";$FILEVERSION=2.0\n;$COLUMNS=N,O,T,I,d,l,D\r\n 1 1.0 DT 0FF00D0 Tx 1 07", "(0.001000) - 00FF00D0#07"},
  };
  for (const auto& [line, frame] : cases) EXPECT_THAT(Read(line), testing::ElementsAre(frame)) << line;
}

TEST(LogReaderTest, PassesOverWhatIsNoDataFrameAndCountsIt) {
  const char* const lines[] = {"(1.0) can0 123#R",
                               "(1.0) can0 123##1010203",
                               "(1.0) can0 20000004#0000000000000000",
                               "(1.0) can0 123#010203040506070809",
                               "(1.0) can0 123#01 X",
                               " (1.0)  can0  123   [2]  remote request",
                               " (1.0)  can0  123  [08]  01 02 03 04 05 06 07 08",
                               " (1.0)  can0  123   [2]  01",
                               " (1.0)  can0  123   [2]  01 02 03",
                               " (2015-13-10 08:17:32.2)  can0  123   [1]  07",
                               "(",
                               "( ",
                               "()",
                               "(1.0)",
                               "1.0 1  123  Rx   r",
                               "1.0 1  123  Rx   d 9 00 01 02 03 04 05 06 07 08",
                               "1.0 1  20000004x Rx d 1 00",
                               "1.0 CANFD 1 Rx 123 1 0 8 8 00",
                               "1.0 1  ErrorFrame",
                               "timestamp,arbitration_id,extended,remote,error,dlc,data",
                               "1.0,0x7b,0,1,0,0,",
                               "1.0,0x7b,0,0,0,3,AQI=",
                               "1.0,0x7b,0,0,0,9,AQIDBAUGBwgJ",
                               "1.0,0x7b,0,0,0,1,?Q==",
                               "1) 1500 FFFFFFFF 4 00 00 00 00",
                               "1) 1500 0123 2 RTR",
                               "1) 1500 0123 9 00 01 02 03 04 05 06 07 08",
                               "1) 15.x 0123 1 00",
                               "1) 1500 0800 1 00",
                               "1 1500 DT 0123 Rx 1 00",
                               ";$COLUMNS=N,O",
                               "date Fri Jul 10 08:17:32.249 am 2015",
                               "base hex  timestamps absolute",
                               ",,,,,,,,,"};
  for (const char* line : lines) {
    std::uint64_t skipped = 0;
    EXPECT_THAT(Read(line, &skipped), testing::IsEmpty()) << line;
    EXPECT_EQ(skipped, 1U) << line;
  }
}

TEST(LogReaderTest, RefusesALogThatItWouldReadWrongly) {
  for (const char* log : {"base dec  timestamps absolute\n1.0 1  123  Rx   d 1 00\n",
                          "base hex  timestamps relative\n1.0 1  123  Rx   d 1 00\n", ";$FILEVERSION=3.0\n",
                          "MDF     4.10    "}) {
    EXPECT_THROW(Read(log), host::UsageError) << log;
  }
}

using namespace std::chrono_literals;
using testing::ElementsAre;
using TimePoint = host::Schedule::TimePoint;

constexpr TimePoint BEGIN{1h};

// A clock that advances only in waits and by the time that a send takes.
struct world_t {
  TimePoint now = BEGIN;
  std::chrono::microseconds sendTakes{0};
  std::size_t stopAfter = 1'000'000;
  std::size_t holdAt = 1'000'000;  // the number of frames after which the player is paused
  TimePoint::duration holdFor{};
  std::vector<std::int64_t> sentAt_us;

  host::player_hooks_t Stage() {
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
              sentAt_us.push_back(std::chrono::duration_cast<std::chrono::microseconds>(now - BEGIN).count());
              now += sendTakes;
              return true;
            },
        .progress = [] {},
        .moveKey = {}};
  }
};

std::function<std::optional<host::recorded_event_t>()> Frames(std::vector<std::uint64_t> stamps_us) {
  return [stamps = std::deque(stamps_us.begin(),
                              stamps_us.end())]() mutable -> std::optional<host::recorded_event_t> {
    if (stamps.empty()) return std::nullopt;
    const bus::frame_t frame{.identifier = 1, .time_us = stamps.front()};
    stamps.pop_front();
    return frame;
  };
}

std::vector<std::int64_t> PlayAll(world_t& world, double speed, const std::vector<std::uint64_t>& stamps_us) {
  host::Schedule schedule(BEGIN, speed);
  host::play_counts_t played;
  host::Play(Frames(stamps_us), schedule, false, world.Stage(), played);
  return world.sentAt_us;
}

TEST(PlayTest, KeepsThePaceOfTheRecordingAtItsSpeed) {
  const std::vector<std::uint64_t> stamps = {1'000'000, 1'010'000, 1'010'000, 3'000'000};
  EXPECT_THAT(PlayAll(*std::make_unique<world_t>(), 1, stamps), ElementsAre(0, 10'000, 10'000, 2'000'000));
  EXPECT_THAT(PlayAll(*std::make_unique<world_t>(), 4, stamps), ElementsAre(0, 2'500, 2'500, 500'000));
  EXPECT_THAT(PlayAll(*std::make_unique<world_t>(), 0, stamps), ElementsAre(0, 0, 0, 0));
  // Where the recorded clock goes backward, the next frame follows at once.
  EXPECT_THAT(PlayAll(*std::make_unique<world_t>(), 1, {5'000'000, 5'001'000, 1'000'000, 1'002'000}),
              ElementsAre(0, 1'000, 1'000, 3'000));
}

TEST(PlayTest, DoesNotDriftHoweverLongSendingTakes) {
  world_t world;
  world.sendTakes = 900us;
  std::vector<std::uint64_t> stamps;
  for (std::uint64_t i = 0; i < 100'000; ++i) stamps.push_back(i * 1'000);
  const auto sent = PlayAll(world, 3, stamps);  // 1/3 ms is not a whole number of microseconds
  EXPECT_GT(sent.back(), 33'333'000);  // a frame takes 900 us, longer than 1/3 ms: playing falls behind
  world_t quick;
  quick.sendTakes = 300us;
  EXPECT_EQ(PlayAll(quick, 3, stamps).back(), 33'333'000);
}

TEST(PlayTest, GoesOnFromWhereTheBusWasLost) {
  world_t world;
  host::Schedule schedule(BEGIN, 1);
  host::play_counts_t played;
  auto stage = world.Stage();
  const auto send = stage.send;
  stage.send = [&, first = true](const bus::frame_t& frame) mutable {
    send(frame);
    if (std::exchange(first, false)) world.now += 8s;  // the bus was lost for 8 s
    return true;
  };
  host::Play(Frames({0, 10'000, 20'000}), schedule, false, stage, played);
  EXPECT_THAT(world.sentAt_us, ElementsAre(0, 8'010'000, 8'020'000));
}

TEST(PlayTest, PutsOffAllThatFollowsAfterAPause) {
  world_t world;
  world.holdAt = 2;
  world.holdFor = 5s;
  EXPECT_THAT(PlayAll(world, 2, {0, 10'000, 20'000, 30'000}), ElementsAre(0, 5'000, 5'010'000, 5'015'000));
}

TEST(PlayTest, LoopsWithoutAGapAndStopsWhenTold) {
  world_t world;
  world.stopAfter = 5;
  host::Schedule schedule(BEGIN, 1);
  host::play_counts_t played;
  while (host::Play(Frames({7'000, 8'000}), schedule, false, world.Stage(), played)) schedule.Rewind();
  EXPECT_THAT(world.sentAt_us, ElementsAre(0, 1'000, 1'000, 2'000, 2'000));
  EXPECT_EQ(played.frames, 5U);
}

}  // namespace
