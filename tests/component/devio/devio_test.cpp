// Single steps of the beeper and the blinkers, and the blinkers' thread.
#include <functional>
#include <tuple>

#include <gtest/gtest.h>
#include <unistd.h>

#include "src/devio/blinkers.h"
#include "src/devio/digital_io.h"
#include "src/services/dbshm.h"
#include "tests/support/console_capture.h"
#include "tests/support/test_record.h"

namespace {

class BeeperTest : public testing::Test {
 protected:
  BeeperTest() { record_->beeperState = BEEPER_SILENT; }

  // One step as text: the commands "on" and "off", and the milliseconds of each pause.
  std::string Step() {
    std::string log;
    const beeper_device_t device{[&log](const std::array<std::uint8_t, 8>& command) {
                                   const std::array<std::uint8_t, 8> on{0x20, 0, 0, 0, 0, 0, 0x80, 0x3F};
                                   const std::array<std::uint8_t, 8> off{0x20, 0, 0, 0, 0, 0, 0, 0};
                                   log += command == on ? "on " : command == off ? "off " : "? ";
                                 },
                                 [&log, this](int milliseconds) {
                                   log += std::to_string(milliseconds) + ' ';
                                   if (duringSleep_) duringSleep_();
                                 }};
    BeeperStep(record_, device);
    return log;
  }

  TestRecord record_;
  std::function<void()> duringSleep_;
};

TEST_F(BeeperTest, HasItsSoundAndItsPictureInEachState) {
  DBSHM::Write(record_->variables.beepImage, 9.0);
  const std::tuple<const char*, int, int, const char*, double> cases[] = {
      {"one beep", BEEPER_SINGLE, 5, "on 50 off ", 9.0},
      {"silent", BEEPER_SILENT, 5, "off 10 ", 0.0},
      {"continuous", BEEPER_CONTINUOUS, 5, "on 10 ", 2.0},
      {"pulses of a negative duration", BEEPER_PULSE, -3, "on 0 off 10 ", 1.0},
      {"pulses", BEEPER_PULSE, 20, "on 200 off 200 ", 1.0}};
  for (const auto& [name, type, duration, log, image] : cases) {
    SCOPED_TRACE(name);
    SetBeeper(record_, type, duration);
    EXPECT_EQ(Step(), log);
    EXPECT_EQ(ParameterValue("OrvikBeepImage"), image);
  }
  ConsoleCapture console;
  for (const int unknown : {4, -1}) SetBeeper(record_, unknown, 1);
  EXPECT_EQ(console.Err(),
            "Orvik: SetBeeper ERROR!  Unknown type 4\nOrvik: SetBeeper ERROR!  Unknown type -1\n");
  EXPECT_EQ(Step(), "on 200 off 200 ") << "the state before";
}

TEST_F(BeeperTest, ClicksOnceAndInterruptsNothing) {
  SetBeeperKeyPress(record_);
  EXPECT_EQ(Step(), "on 50 off ");
  EXPECT_EQ(Step(), "off 10 ");
  for (const auto& [duration, log] : {std::pair{20, "on 200 off 200 "}, {255, "on 10 "}}) {
    SetBeeperDuration(record_, duration);
    SetBeeperKeyPress(record_);
    EXPECT_EQ(Step(), log) << duration;
  }
  SetBeeperDuration(record_, 0);
  EXPECT_EQ(Step(), "off 10 ");
}

TEST_F(BeeperTest, DoesNotLoseAnAlarmThatIsSetDuringAClick) {
  SetBeeperKeyPress(record_);
  duringSleep_ = [this] { SetBeeper(record_, BEEPER_CONTINUOUS, 0); };
  EXPECT_EQ(Step(), "on 50 off ");
  EXPECT_EQ(record_->beeperState, BEEPER_CONTINUOUS);
}

class BlinkersTest : public testing::Test {
 protected:
  BlinkersTest() { InitBlinkers(record_); }

  static int Value(unsigned handle) {
    double value = 0;
    return DBSHM::Read(handle, value) == 1 ? static_cast<int>(value) : -1;
  }
  // The value after each of `ticks` ticks.
  std::string Run(unsigned handle, int ticks) {
    std::string values;
    for (int i = 0; i < ticks; ++i) {
      UpdateBlinkers(record_);
      values += std::to_string(Value(handle)) + ' ';
    }
    return values;
  }

  TestRecord record_;
};

TEST_F(BlinkersTest, StepEveryPeriodPlusOneTicks) {
  StartBlinker(record_, 29, 0, 1, 4, 540);
  EXPECT_EQ(Value(540), 0);
  EXPECT_EQ(Run(540, 15), "0 0 0 0 1 1 1 1 1 0 0 0 0 0 1 ");
  StartBlinker(record_, 0, 3, 5, 0, 541);
  EXPECT_EQ(Run(541, 5), "4 5 3 4 5 ");
  StartBlinker(record_, 0, 3, 3, 0, 541);
  EXPECT_EQ(Run(541, 2), "3 3 ");
  StartBlinker(record_, 1, 0, 9, 2, 542);
  SetBlinkerPeriod(record_, &blinkers[1], 0);
  EXPECT_EQ(Run(542, 4), "0 0 1 2 ") << "a new period does not change the present countdown";
  InitBlinkers(record_);
  EXPECT_EQ(Run(542, 2), "2 2 ");
}

TEST_F(BlinkersTest, StopTheFirstWhicheverIsStopped) {
  StartBlinker(record_, 0, 0, 9, 0, 550);
  StartBlinker(record_, 5, 0, 9, 0, 551);
  StopBlinker(&blinkers[5], 77);
  EXPECT_EQ(Run(551, 2), "1 2 ");
  EXPECT_EQ(Value(550), 77);
}

TEST_F(BlinkersTest, RefuseAnIndexOutsideTheTable) {
  ConsoleCapture console;
  for (const int index : {30, -1}) StartBlinker(record_, index, 1, 2, 3, 553);
  EXPECT_EQ(console.Err(),
            "Orvik: StartBlinker ERROR!  No blinker 30\nOrvik: StartBlinker ERROR!  No blinker -1\n");
  EXPECT_EQ(Value(553), -1);
}

bool Becomes(const std::function<bool()>& condition, int polls = 4000) {
  for (int i = 0; i < polls && !condition(); ++i) usleep(5000);
  return condition();
}

TEST_F(BlinkersTest, AreSteppedByTheirThreadUntilItIsStopped) {
  // The record is never freed, because the detached thread may still read it when the test has ended.
  static auto& data = *new orvikData_t;
  const ConsoleCapture console;
  ASSERT_EQ(InitBlinkerThread(&data), 0);
  ASSERT_TRUE(Becomes([&] { return data.blinkerReady == 1; }));
  data.running = 1;
  // The thread resets the table once. A blinker that was started before that is started again here.
  EXPECT_TRUE(Becomes(
      [&] {
        StartBlinker(&data, 0, 0, 1, 0, 560);
        return Becomes([] { return Value(560) == 1; }, 100);
      },
      40));
  data.blinkerExit = 1;
  EXPECT_TRUE(Becomes([&] { return data.blinkerReady == 0; }));
}

}  // namespace
