// How blinkers step through their values, and what stopping one does.
#include "devio/blinkers.h"

#include "tests/unit/devio/record_fixture.h"

namespace {

class BlinkersTest : public RecordTest {
 protected:
  BlinkersTest() { InitBlinkers(&record); }

  // The value after each of `ticks` ticks.
  std::string Run(unsigned handle, int ticks) {
    std::string values;
    for (int i = 0; i < ticks; ++i) {
      UpdateBlinkers(&record);
      values += std::to_string(static_cast<int>(Value(handle))) + ' ';
    }
    return values;
  }
};

TEST_F(BlinkersTest, ABlinkerStepsEveryPeriodPlusOneTicks) {
  StartBlinker(&record, 29, 0, 1, 4, 40);
  EXPECT_EQ(Value(40), 0.0);
  EXPECT_EQ(Run(40, 15), "0 0 0 0 1 1 1 1 1 0 0 0 0 0 1 ");
  StartBlinker(&record, 0, 3, 5, 0, 41);
  EXPECT_EQ(Run(41, 5), "4 5 3 4 5 ");
  StartBlinker(&record, 0, 3, 3, 0, 41);
  EXPECT_EQ(Run(41, 2), "3 3 ");
}

TEST_F(BlinkersTest, StoppingAnyBlinkerStopsTheFirst) {
  StartBlinker(&record, 0, 0, 9, 0, 50);
  StartBlinker(&record, 5, 0, 9, 0, 51);
  StopBlinker(&blinkers[5], 77);
  EXPECT_EQ(Run(51, 2), "1 2 ");
  EXPECT_EQ(Value(50), 77.0);
}

TEST_F(BlinkersTest, ANewPeriodLeavesTheCountdownThatIsUnderWay) {
  StartBlinker(&record, 1, 0, 9, 2, 52);
  SetBlinkerPeriod(&record, &blinkers[1], 0);
  EXPECT_EQ(Run(52, 4), "0 0 1 2 ");
}

TEST_F(BlinkersTest, AnIndexOutsideTheTableIsRefused) {
  testing::internal::CaptureStderr();
  StartBlinker(&record, 30, 1, 2, 3, 53);
  StartBlinker(&record, -1, 1, 2, 3, 53);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Orvik: StartBlinker ERROR!  No blinker 30\nOrvik: StartBlinker ERROR!  No blinker -1\n");
  EXPECT_EQ(Value(53), -1.0);
}

TEST_F(BlinkersTest, AnInitialisedTableDoesNotBlink) {
  StartBlinker(&record, 2, 0, 9, 0, 54);
  InitBlinkers(&record);
  EXPECT_EQ(Run(54, 2), "0 0 ");
}

}  // namespace
