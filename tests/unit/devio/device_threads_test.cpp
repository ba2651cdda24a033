// The life of the three device threads: set up, gate, work, stop.
#include <functional>

#include <unistd.h>

#include "platform/board_state.h"

#include "devio/blinkers.h"
#include "devio/digital_io.h"
#include "devio/timer.h"
#include "tests/unit/devio/record_fixture.h"

namespace {

constexpr unsigned BEEP_IMAGE = 7, BLINKING = 8;
constexpr std::uint32_t ONE_AS_FLOAT = 0x3F800000;

bool Becomes(const std::function<bool()>& condition, int polls = 4000) {
  for (int i = 0; i < polls && !condition(); ++i) usleep(5000);
  return condition();
}

// A blinker that is started before the thread has reset the table stays dark: it is started again.
bool ABlinkerBlinks(orvikData_t& record, const std::function<bool()>& condition) {
  return Becomes(
      [&] {
        StartBlinker(&record, 0, 0, 1, 0, BLINKING);
        return Becomes(condition, 100);
      },
      40);
}

// This record outlives the test: nothing orders a detached thread's last look at it before its end.
class DeviceThreads : public RecordTest {
 protected:
  DeviceThreads() {
    pthread_mutex_init(&record.beeperMutex, nullptr);
    record.variables.beepImage = BEEP_IMAGE;
  }
  static inline orvikData_t& record = *new orvikData_t;
};

TEST_F(DeviceThreads, WorkBehindTheGateUntilTheyAreStopped) {
  const platform::BoardMapping board(platform::BoardMapping::Role::kOwner);
  ASSERT_NE(board.Get(), nullptr);
  testing::internal::CaptureStdout();
  ASSERT_EQ(Init_DIO(&record), 0);
  ASSERT_TRUE(Becomes([&] { return record.dioReady == 1; }));
  ASSERT_EQ(InitBlinkerThread(&record), 0);
  ASSERT_TRUE(Becomes([&] { return record.blinkerReady == 1; }));
  ASSERT_EQ(Init_Timer(&record), 0);
  ASSERT_TRUE(Becomes([&] { return record.timerReady == 1; }));
  record.countdown[4] = 3;
  record.beeperState = BEEPER_CONTINUOUS;
  EXPECT_EQ(Value(BEEP_IMAGE), -1.0);

  record.running = 1;
  EXPECT_TRUE(Becomes([&] { return Value(BEEP_IMAGE) == 0.0; }));  // silent, whatever the state was before
  EXPECT_TRUE(Becomes([&] { return record.countdown[4] == 0; }));
  EXPECT_TRUE(ABlinkerBlinks(record, [&] { return Value(BLINKING) == 1.0; }));
  SetBeeperDuration(&record, 255);
  EXPECT_TRUE(Becomes([&] { return board.Get()->beeperValue == ONE_AS_FLOAT; }));

  record.timerExit = 1;
  EXPECT_TRUE(Becomes([&] { return record.timerReady == 0; }));
  record.blinkerExit = 1;
  EXPECT_TRUE(Becomes([&] { return record.blinkerReady == 0; }));
  SetBeeperDuration(&record, 254);  // the stop does not wait for such a beep to end
  record.dioExit = 1;
  EXPECT_TRUE(Becomes([&] { return record.dioReady == 0; }));
  EXPECT_EQ(board.Get()->beeperValue, 0U);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Digital I/O device opended\nOrvik: Digital_IO initialization complete\n"
            "Orvik: Blinker initialization complete\nOrvik: Timer initialization complete\n"
            "Orvik: Timer thread EXIT\nOrvik: Blinker thread EXIT\nOrvik: DigitalIO thread EXIT\n");
}

}  // namespace
