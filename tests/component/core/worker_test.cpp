// A worker counts from its start to its last access to the record, also before it has set its running flag.
#include "src/core/worker.h"

#include <latch>
#include <thread>

#include <gtest/gtest.h>

#include "src/core/orvik_data.h"

namespace {

constexpr worker_t SLOW_WORKER = {
    .slot = THREAD_PARSE, .name = "Slow", .readyLine = "ready", .exitLine = "exit", .pace = {}};

std::latch setUpBegins{1};
std::latch setUpMayEnd{1};

// Its set-up lasts until the test ends it.
class SlowTask : public WorkerTask {
 public:
  explicit SlowTask(orvikData_t* /*data*/) {
    setUpBegins.count_down();
    setUpMayEnd.wait();
  }
  bool Step() override { return false; }
};

void* RunSlowWorker(void* record) {
  return RunWorker<SlowTask>(SLOW_WORKER, record);
}

TEST(WorkerTest, CountsWhileItSetsItselfUp) {
  orvikData_t data;
  data.running = 1;
  EXPECT_FALSE(AnyWorkerLeft(&data));
  ASSERT_EQ(StartWorker(SLOW_WORKER, RunSlowWorker, &data), 0);
  setUpBegins.wait();
  EXPECT_TRUE(AnyWorkerLeft(&data));
  setUpMayEnd.count_down();
  while (AnyWorkerLeft(&data)) std::this_thread::yield();  // the test's time limit ends a wait for ever
}

}  // namespace
