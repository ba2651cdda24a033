// What the queue of console lines keeps, counts and says.
#include <vector>

#include <gmock/gmock.h>

#include "platform/console_writer.h"

namespace {

using platform::LineQueue;
using testing::ElementsAre;

constexpr int OUT = 1;
constexpr int ERR = 2;

class LineQueueTest : public testing::Test {
 protected:
  // Different lines "0", "1", ...
  void AddMany(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) queue_.Add({OUT, std::to_string(i) + "\n"});
  }
  std::vector<std::string> Drain() {
    std::vector<std::string> lines;
    while (const auto line = queue_.Take(1))
      lines.push_back(std::to_string(line->descriptor) + ":" + line->bytes);
    return lines;
  }
  // What follows the first `count` lines.
  std::vector<std::string> DrainAfter(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) queue_.Take(1);
    return Drain();
  }

  LineQueue queue_{"Orvik", ERR};
};

TEST_F(LineQueueTest, KeepsTheOrderOfBothStreamsAndEveryLineOfAReaderThatKeepsUp) {
  queue_.Add({OUT, "a\n"});
  queue_.Add({ERR, "b\n"});
  queue_.Add({OUT, "a\n"});
  queue_.Add({OUT, "a\n"});
  EXPECT_THAT(Drain(), ElementsAre("1:a\n", "2:b\n", "1:a\n", "1:a\n"));
  EXPECT_TRUE(queue_.IsEmpty());
}

TEST_F(LineQueueTest, CountsEqualLinesOfOneStreamWhileTheReaderIsBehind) {
  AddMany(LineQueue::BEHIND - 1);
  for (int i = 0; i < 4; ++i) queue_.Add({OUT, "bad\n"});
  for (int i = 0; i < 2; ++i) queue_.Add({ERR, "bad\n"});
  queue_.Add({OUT, "good\n"});
  EXPECT_THAT(DrainAfter(LineQueue::BEHIND - 1),
              ElementsAre("1:bad\n", "1:Orvik: the line above came 3 more times\n", "2:bad\n",
                          "2:Orvik: the line above came 1 more time\n", "1:good\n"));
}

TEST_F(LineQueueTest, SaysHowManyLinesItLostOnceHalfIsFree) {
  AddMany(LineQueue::MOST_LINES + 7);
  for (std::size_t i = 0; i < LineQueue::MOST_LINES / 2; ++i) queue_.Take(1);
  queue_.Add({OUT, "still too much\n"});
  queue_.Take(1);
  queue_.Add({OUT, "again\n"});
  EXPECT_THAT(DrainAfter(LineQueue::MOST_LINES / 2 - 1),
              ElementsAre("2:Orvik: 8 lines lost: the console was not read\n", "1:again\n"));
}

TEST_F(LineQueueTest, SaysWhatItLostWhenNothingFollows) {
  AddMany(LineQueue::MOST_LINES + 1);
  EXPECT_THAT(DrainAfter(LineQueue::MOST_LINES),
              ElementsAre("2:Orvik: 1 line lost: the console was not read\n"));
}

TEST_F(LineQueueTest, GivesLinesOfOneStreamTogether) {
  for (const char* line : {"aa\n", "b\n", "cc\n"}) queue_.Add({OUT, line});
  for (const char* line : {"d\n", "e\n"}) queue_.Add({ERR, line});
  std::vector<std::string> taken;
  while (const auto lines = queue_.Take(5)) taken.push_back(lines->bytes);
  EXPECT_THAT(taken, ElementsAre("aa\nb\n", "cc\n", "d\ne\n"));
}

TEST_F(LineQueueTest, IsBoundedInBytes) {
  const std::string half(LineQueue::MOST_BYTES / 2, 'x');
  for (int i = 0; i < 4; ++i) queue_.Add({OUT, half});
  EXPECT_EQ(Drain().size(), 3);  // two of them, and the line about the others
  queue_.Add({OUT, half});
  EXPECT_EQ(Drain().size(), 1);
}

}  // namespace
