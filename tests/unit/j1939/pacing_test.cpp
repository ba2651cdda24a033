#include "j1939/pacing.h"

#include "gmock/gmock.h"

namespace unit {
namespace {

using namespace std::chrono_literals;

TEST(PacingTest, TheBusSlowsDownAsTheRoomGoesToItsEnd) {
  Pacing pacing;
  struct {
    int room;
    std::chrono::milliseconds pause;
  } const cases[] = {{4096, 0ms}, {512, 0ms}, {511, 1ms}, {256, 1ms},
                     {255, 4ms},  {63, 32ms}, {1, 250ms}, {-1, 0ms}};
  for (const auto& c : cases) EXPECT_EQ(pacing.PauseAfter(c.room), c.pause) << c.room;
}

TEST(PacingTest, ASubscriberThatHasStoppedHoldsTheBusForSecondsAndNotForEver) {
  Pacing pacing;
  std::chrono::milliseconds held{0};
  for (int room = Pacing::ENOUGH_ROOM; room >= 0; --room) held += pacing.PauseAfter(room);
  EXPECT_GT(held, 5s);
  EXPECT_LT(held, 10s);
  EXPECT_EQ(pacing.PauseAfter(0), 0ms) << "given up";
  EXPECT_EQ(pacing.PauseAfter(1), 250ms) << "it reads again";
  EXPECT_EQ(pacing.PauseAfter(0), Pacing::LONGEST);
}

}  // namespace
}  // namespace unit
