// Lines for a file that stalls or fails.
#include "unit/blackbox/line_writer.h"

#include <atomic>
#include <chrono>
#include <future>
#include <mutex>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

using unit::LineTarget;
using unit::LineWriter;
using namespace std::chrono_literals;

// Shared by a test and the writer's thread.
struct disk_t {
  std::atomic<bool> full{false};
  std::atomic<int> tries{0};
  std::promise<void> stalled;
  std::shared_future<void> answer;  // where set, a write waits for it
  std::mutex mutex;                 // guards the text
  std::string text;
  std::string Text() {
    const std::lock_guard lock(mutex);
    return text;
  }
};

class DiskTarget : public LineTarget {
 public:
  explicit DiskTarget(std::shared_ptr<disk_t> disk) : disk_(std::move(disk)) {}
  std::string Write(const std::string& text) override {
    if (++disk_->tries == 1) disk_->stalled.set_value();
    if (disk_->answer.valid()) disk_->answer.wait();
    if (disk_->full) return "the disk is full";
    const std::lock_guard lock(disk_->mutex);
    disk_->text += text;
    return {};
  }

 private:
  const std::shared_ptr<disk_t> disk_;
};

bool Becomes(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + 20s;
  while (!condition() && std::chrono::steady_clock::now() < deadline) std::this_thread::sleep_for(1ms);
  return condition();
}

class LineWriterTest : public testing::Test {
 protected:
  std::unique_ptr<LineWriter> MakeWriter() {
    return std::make_unique<LineWriter>("test", "the file a", std::make_unique<DiskTarget>(disk_));
  }
  const std::shared_ptr<disk_t> disk_ = std::make_shared<disk_t>();
};

TEST_F(LineWriterTest, KeepsTheNewestLinesOfADiskThatStallsAndLeavesItAtTheEnd) {
  std::promise<void> answer;
  disk_->answer = answer.get_future();
  auto writer = MakeWriter();
  writer->Write("first");
  disk_->stalled.get_future().wait();
  const std::string line(1000, 'x');
  for (std::size_t bytes = 0; bytes <= LineWriter::MOST_BYTES; bytes += line.size()) writer->Write(line);
  writer->Write("newest");
  EXPECT_GT(writer->Lost(), 0);
  EXPECT_TRUE(
      Becomes([&] { return writer->Problem().starts_with("the file a is not written: its disk has"); }));
  testing::internal::CaptureStderr();
  writer.reset();  // returns, though the disk has not answered
  EXPECT_TRUE(testing::internal::GetCapturedStderr().starts_with("test: the file a lacks its last "));
  answer.set_value();
  EXPECT_TRUE(Becomes([&] { return disk_->Text().ends_with("newest\n"); }));
}

TEST_F(LineWriterTest, GoesOnInOrderOnceADiskHasRoomAgain) {
  testing::internal::CaptureStderr();
  disk_->full = true;
  auto writer = MakeWriter();
  for (const char* line : {"1", "2", "3"}) writer->Write(line);
  EXPECT_TRUE(Becomes([&] { return disk_->tries > 1; }));
  EXPECT_EQ(writer->Problem(), "the file a is not written: the disk is full");
  disk_->full = false;
  EXPECT_TRUE(Becomes([&] { return writer->Problem().empty(); }));
  writer.reset();
  EXPECT_EQ(disk_->Text(), "1\n2\n3\n");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "test: the file a is not written: the disk is full\n"
            "test: the file a is written again; 0 lines are lost\n");
}

}  // namespace
