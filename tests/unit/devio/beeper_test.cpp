// What the beeper does in each state, and the commands that reach its device.
#include "platform/board_state.h"

#include "devio/backlight.h"
#include "devio/digital_io.h"
#include "tests/unit/devio/record_fixture.h"

namespace {

constexpr unsigned BEEP_IMAGE = 7;

class BeeperTest : public RecordTest {
 protected:
  BeeperTest() {
    record.variables.beepImage = BEEP_IMAGE;
    record.beeperState = BEEPER_SILENT;
  }

  // One turn of the loop in words: "on" and "off" commands, and the milliseconds between them.
  std::string Step() {
    std::string log;
    const beeper_device_t device{[&log](const std::array<std::uint8_t, 8>& command) {
                                   const std::array<std::uint8_t, 8> on{0x20, 0, 0, 0, 0, 0, 0x80, 0x3F};
                                   const std::array<std::uint8_t, 8> off{0x20, 0, 0, 0, 0, 0, 0, 0};
                                   log += command == on ? "on " : command == off ? "off " : "? ";
                                 },
                                 [&log, this](int milliseconds) {
                                   log += std::to_string(milliseconds) + ' ';
                                   if (duringSleep) duringSleep();
                                 }};
    BeeperStep(&record, device);
    return log;
  }

  std::function<void()> duringSleep;
};

TEST_F(BeeperTest, EachStateHasItsSoundAndItsPicture) {
  struct case_t {
    int type, duration;
    const char* log;
    double image;
  };
  DBSHM::Write(BEEP_IMAGE, 9.0);
  for (const auto& [type, duration, log, image] : {
           case_t{BEEPER_SINGLE, 5, "on 50 off ", 9.0},
           {BEEPER_SILENT, 5, "off 10 ", 0.0},
           {BEEPER_CONTINUOUS, 5, "on 10 ", 2.0},
           {BEEPER_PULSE, 20, "on 200 off 200 ", 1.0},
           {BEEPER_PULSE, -3, "on 0 off 10 ", 1.0},
       }) {
    SetBeeper(&record, type, duration);
    EXPECT_EQ(Step(), log);
    EXPECT_EQ(Value(BEEP_IMAGE), image);
  }
}

TEST_F(BeeperTest, ASingleBeepIsOverAfterOneTurnAndInterruptsNothing) {
  SetBeeperKeyPress(&record);
  EXPECT_EQ(Step(), "on 50 off ");
  EXPECT_EQ(Step(), "off 10 ");
  for (const auto& [duration, log] : {std::pair{20, "on 200 off 200 "}, {255, "on 10 "}}) {
    SetBeeperDuration(&record, duration);
    SetBeeperKeyPress(&record);
    EXPECT_EQ(Step(), log);
  }
  SetBeeperDuration(&record, 0);
  EXPECT_EQ(Step(), "off 10 ");
}

TEST_F(BeeperTest, AnAlarmSetDuringAClickIsNotLost) {
  SetBeeperKeyPress(&record);
  duringSleep = [this] { SetBeeper(&record, BEEPER_CONTINUOUS, 0); };
  EXPECT_EQ(Step(), "on 50 off ");
  EXPECT_EQ(record.beeperState, BEEPER_CONTINUOUS);
}

TEST_F(BeeperTest, AnUnknownTypeIsReportedAndChangesNothing) {
  SetBeeper(&record, BEEPER_PULSE, 20);
  testing::internal::CaptureStderr();
  SetBeeper(&record, 4, 1);
  SetBeeper(&record, -1, 1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Orvik: SetBeeper ERROR!  Unknown type 4\nOrvik: SetBeeper ERROR!  Unknown type -1\n");
  EXPECT_EQ(Step(), "on 200 off 200 ");
}

TEST_F(BeeperTest, TheBacklightIsAPercentage) {
  testing::internal::CaptureStderr();
  backlight(50);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "ERRROR - UNABLE TO OPEN /dev/pwm0!\n");
  const platform::BoardMapping board(platform::BoardMapping::Role::kOwner);
  ASSERT_NE(board.Get(), nullptr);
  record.variables.brightness = 8;
  for (const auto& [percent, duty] : {std::pair{55, 55U}, {250, 100U}, {-5, 0U}}) {
    SetBrightness(&record, percent);
    EXPECT_EQ(record.brightness, percent);
    EXPECT_EQ(Value(8), percent);
    EXPECT_EQ(board.Get()->pwmDuty, duty);
  }
}

}  // namespace
