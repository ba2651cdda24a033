// The eight-byte lock between threads and processes, and its recovery when its holder is killed.
#include <array>
#include <atomic>
#include <memory>
#include <new>
#include <optional>

#include <fcntl.h>
#include <sys/mman.h>

#include "platform/shared_memory.h"

#include "tests/contract/platform_processes.h"

namespace contract {
namespace {

using platform::LockShared;
using platform::MarkSlot;
using platform::shared_lock_t;
using platform::UnlockShared;

constexpr const char* OBJECT = "/ContractLock";

// Shared by the processes: a lock, and counters that only its holder changes.
struct shared_t {
  shared_lock_t lock;
  long first;
  long second;
};

class LockTest : public PlatformTest {
 protected:
  LockTest() {
    const int object = platform::OpenSharedObject(OBJECT, O_RDWR | O_CREAT | O_EXCL, 0600);
    EXPECT_EQ(ftruncate(object, sizeof(shared_t)), 0);
    void* const memory = mmap(nullptr, sizeof(shared_t), PROT_READ | PROT_WRITE, MAP_SHARED, object, 0);
    close(object);
    shared_ = new (memory) shared_t{};
    platform::InitSharedLock(shared_->lock);
  }
  ~LockTest() override {
    munmap(shared_, sizeof(shared_t));
    EXPECT_EQ(platform::UnlinkSharedObject(OBJECT), 0);
  }

  platform::lock_result_t Lock(std::chrono::milliseconds limit = 20s) const {
    return LockShared(shared_->lock, limit);
  }
  // Adds 1 to both counters, which are equal while the lock is free. Repairs them after a dead holder.
  void Step() const {
    if (Lock().torn) shared_->second = shared_->first;
    MarkSlot(shared_->lock, 0);
    shared_->first = shared_->first + 1;
    std::atomic_signal_fence(std::memory_order_seq_cst);
    shared_->second = shared_->second + 1;
    UnlockShared(shared_->lock);
  }
  int StepTimes(int times) const {
    for (int i = 0; i < times; ++i) Step();
    return 0;
  }
  // A process that takes the lock, marks a slot (or none) and is killed as soon as `meanwhile` has run.
  // Taking the lock must return `expected` in that process.
  template <class Meanwhile>
  void KillHolder(int slot, std::optional<std::uint32_t> expected, const Meanwhile& meanwhile) const {
    const Signal holding;
    const Child holder([&] {
      if (Lock().torn != expected) return 1;
      if (slot >= 0) MarkSlot(shared_->lock, static_cast<std::uint32_t>(slot));
      holding.Raise();
      for (;;) pause();
    });
    ASSERT_TRUE(holding.Await());
    meanwhile();
  }
  void KillHolder(int slot, std::optional<std::uint32_t> expected = {}) const {
    KillHolder(slot, expected, [] {});
  }
  std::optional<std::uint32_t> LockAndUnlock() const {
    const auto broken = Lock().torn;
    UnlockShared(shared_->lock);
    return broken;
  }

  shared_t* shared_;
};

TEST_F(LockTest, AdmitsOneAtATimeOfThreadsAndProcesses) {
  constexpr int TIMES = 20000;
  std::array<std::unique_ptr<Child>, 3> processes;
  for (auto& process : processes) process = std::make_unique<Child>([this] { return StepTimes(TIMES); });
  StartThreads(3, [this](int) { StepTimes(TIMES); }).clear();
  for (auto& process : processes) EXPECT_EQ(process->Result(), 0);
  EXPECT_EQ(shared_->first, 6 * TIMES);
  EXPECT_EQ(shared_->second, 6 * TIMES);
}

TEST_F(LockTest, OfAKilledHolderGoesToTheNextWithTheSlotOnce) {
  KillHolder(-1);
  EXPECT_EQ(LockAndUnlock(), std::nullopt);
  for (const std::uint32_t slot : {0U, 5U, 32767U}) {
    KillHolder(static_cast<int>(slot));
    EXPECT_EQ(LockAndUnlock(), slot);
    EXPECT_EQ(LockAndUnlock(), std::nullopt) << "the slot is reported once";
  }
  KillHolder(7);
  KillHolder(-1, 7);
  EXPECT_EQ(LockAndUnlock(), 7U) << "the slot is reported again when the process that got it dies too";
}

TEST_F(LockTest, LiesInAnObjectThatSomethingElseMayStandInTheWayOf) {
  EXPECT_EQ(platform::DescribeObstacle(OBJECT), "") << "the object itself";
  const int object = platform::OpenSharedObject(OBJECT, O_RDWR, 0600);
  const std::string path = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(object));
  std::filesystem::rename(path, path + ".away");
  std::filesystem::create_directory(path);
  EXPECT_EQ(
      platform::DescribeObstacle(OBJECT),
      path + " is no shared object and is in the way; remove it, or set ORVIK_RUNTIME_DIR to another folder");
  std::filesystem::remove(path);
  std::filesystem::rename(path + ".away", path);
  close(object);
}

// The object of the lock is cut; only the mapping of it that is guarded stays usable.
TEST_F(LockTest, IsUsableInACutObjectWhereItsMappingIsGuarded) {
  const int object = platform::OpenSharedObject(OBJECT, O_RDWR, 0600);
  const auto touch = [&](bool guarded) {
    platform::GuardMapping(shared_, sizeof(shared_t));
    auto* const other = static_cast<long*>(mmap(nullptr, 1, PROT_WRITE, MAP_SHARED, object, 0));
    return ftruncate(object, 0) + static_cast<int>((guarded ? shared_->first : *other) = 0);
  };
  EXPECT_EQ(Child([&] { return touch(true); }).Result(), 0);
  Child other([&] { return touch(false); });
  EXPECT_EQ(other.Result(), -1);
  EXPECT_TRUE(other.HasEnded()) << "the handler repeats the access for ever";
  close(object);
}

TEST_F(LockTest, OfAKilledHolderGoesToAWaiter) {
  std::atomic<int> got = -1;
  std::jthread waiter;
  KillHolder(9, {}, [&] {
    waiter = std::jthread([&] { got = static_cast<int>(LockAndUnlock().value_or(1000)); });
    std::this_thread::sleep_for(10ms);  // time for the waiter to block; the expectations hold without it too
    EXPECT_EQ(got, -1);
    for (const auto limit : {0ms, 5ms}) EXPECT_FALSE(Lock(limit).taken) << "its holder lives";
  });
  waiter.join();
  EXPECT_EQ(got, 9);
  EXPECT_EQ(LockAndUnlock(), std::nullopt) << "who gave up left nothing behind";
}

TEST_F(LockTest, WorksInAForkedChildOfAThreadThatUsedIt) {
  StepTimes(3);
  Child child([this] {
    StepTimes(2);  // a stale thread id would release a lock that the thread does not hold, and hang
    Child grandchild([this] { return StepTimes(1); });
    return grandchild.Result();
  });
  EXPECT_EQ(child.Result(), 0);
  StepTimes(1);
  EXPECT_EQ(shared_->first, 7);
}

}  // namespace
}  // namespace contract
