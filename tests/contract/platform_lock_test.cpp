// The eight-byte lock between threads and processes, and what becomes of it when its holder is killed.
#include <algorithm>
#include <atomic>
#include <memory>
#include <new>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>

#include "platform/shared_memory.h"

#include "platform_processes.h"

namespace contract {
namespace {

using platform::LockShared;
using platform::MarkSlot;
using platform::shared_lock_t;
using platform::UnlockShared;

constexpr const char* OBJECT = "/ContractLock";

// What the processes share: a lock and counters that only its holder changes.
struct shared_t {
  shared_lock_t lock;
  long first;
  long second;
};

class Lock : public PlatformTest {
 protected:
  Lock() {
    const int object = platform::OpenSharedObject(OBJECT, O_RDWR | O_CREAT | O_EXCL, 0600);
    EXPECT_GE(object, 0);
    EXPECT_EQ(ftruncate(object, sizeof(shared_t)), 0);
    void* const memory = mmap(nullptr, sizeof(shared_t), PROT_READ | PROT_WRITE, MAP_SHARED, object, 0);
    close(object);
    shared_ = new (memory) shared_t{};
    platform::InitSharedLock(shared_->lock);
  }
  ~Lock() override {
    munmap(shared_, sizeof(shared_t));
    EXPECT_EQ(platform::UnlinkSharedObject(OBJECT), 0);
  }

  // Adds one to both counters, which are equal whenever nobody holds the lock. Repairs what a dead holder left.
  void Step() const {
    if (LockShared(shared_->lock)) shared_->second = shared_->first;
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
  // A process that takes the lock, marks a slot (or none) and keeps the lock until it is killed.
  std::unique_ptr<Child> StartHolder(const Signal& holding, int slot) const {
    return std::make_unique<Child>([this, &holding, slot] {
      if (LockShared(shared_->lock)) return 1;
      if (slot >= 0) MarkSlot(shared_->lock, static_cast<std::uint32_t>(slot));
      holding.Raise();
      for (;;) pause();
    });
  }

  shared_t* shared_;
};

TEST_F(Lock, AdmitsOneAtATimeOfThreadsAndProcesses) {
  constexpr int kTimes = 20000;
  std::vector<std::unique_ptr<Child>> processes;
  processes.reserve(3);
  for (int i = 0; i < 3; ++i)
    processes.push_back(std::make_unique<Child>([this] { return StepTimes(kTimes); }));
  std::vector<std::thread> threads;
  threads.reserve(3);
  for (int i = 0; i < 3; ++i) threads.emplace_back([this] { StepTimes(kTimes); });
  for (auto& thread : threads) thread.join();
  for (auto& process : processes) EXPECT_EQ(process->Result(), 0);
  EXPECT_EQ(shared_->first, 6 * kTimes);
  EXPECT_EQ(shared_->second, 6 * kTimes);
}

TEST_F(Lock, OfAKilledHolderGoesToTheNextWithTheSlotOnce) {
  for (const int slot : {-1, 0, 5, 32767}) {
    const Signal holding;
    const auto holder = StartHolder(holding, slot);
    ASSERT_TRUE(holding.Await());
    holder->Kill();
    const auto broken = LockShared(shared_->lock);
    EXPECT_EQ(broken.has_value(), slot >= 0);
    EXPECT_EQ(static_cast<int>(broken.value_or(0)), std::max(slot, 0));
    UnlockShared(shared_->lock);
    EXPECT_FALSE(LockShared(shared_->lock).has_value()) << "the slot is reported once";
    UnlockShared(shared_->lock);
  }
}

TEST_F(Lock, OfAKilledHolderGoesToAWaiter) {
  const Signal holding;
  const auto holder = StartHolder(holding, 9);
  ASSERT_TRUE(holding.Await());
  std::atomic<int> got = -1;
  std::thread waiter([&] {
    got = static_cast<int>(LockShared(shared_->lock).value_or(1000));
    UnlockShared(shared_->lock);
  });
  std::this_thread::sleep_for(10ms);  // lets it wait; what is expected holds whether it does or not
  EXPECT_EQ(got, -1);
  holder->Kill();
  waiter.join();
  EXPECT_EQ(got, 9);
}

TEST_F(Lock, ReportsTheSlotAgainWhenItsFinderDiesToo) {
  const Signal holding;
  const auto holder = StartHolder(holding, 7);
  ASSERT_TRUE(holding.Await());
  holder->Kill();
  Child finder([&] {
    if (LockShared(shared_->lock) != 7U) return 1;
    holding.Raise();
    for (;;) pause();
  });
  ASSERT_TRUE(holding.Await());
  finder.Kill();
  EXPECT_EQ(LockShared(shared_->lock), 7U);
  UnlockShared(shared_->lock);
}

TEST_F(Lock, SurvivesHundredsOfKilledHoldersAndWaiters) {
  const Child bystander([this] {
    for (;;) Step();
    return 0;
  });
  for (int round = 0; round < 300; ++round) {
    Child victim([this] {
      for (;;) Step();
      return 0;
    });
    std::this_thread::sleep_for(std::chrono::microseconds(53 * (round % 40)));
    victim.Kill();
    StepTimes(10);
  }
  // Whoever is next repairs what the last victim left.
  Step();
  if (LockShared(shared_->lock)) shared_->second = shared_->first;
  EXPECT_EQ(shared_->first, shared_->second);
  UnlockShared(shared_->lock);
}

TEST_F(Lock, WorksInAForkedChildOfAThreadThatUsedIt) {
  StepTimes(3);
  Child child([this] {
    StepTimes(2);  // with a stale thread id it would give back a lock that it does not hold, and hang
    Child grandchild([this] { return StepTimes(1); });
    return grandchild.Result();
  });
  EXPECT_EQ(child.Result(), 0);
  StepTimes(1);
  EXPECT_EQ(shared_->first, 7);
}

TEST_F(Lock, IsEightBytesAndFreeWhenNobodyHoldsIt) {
  Step();
  EXPECT_EQ(shared_->lock.slot, 0U);
  static_assert(sizeof(shared_lock_t) == 8 && offsetof(shared_t, first) == 8);
}

class SharedObjects : public PlatformTest {};

TEST_F(SharedObjects, AreMadeOnceAndMadeAnewAfterTheirMakerDied) {
  Child maker([] {
    const int object = platform::OpenSharedObject(OBJECT, O_RDWR | O_CREAT | O_EXCL, 0600);
    if (object < 0 || ftruncate(object, 100) != 0) return 1;
    for (;;) pause();
  });
  ASSERT_TRUE(Eventually([] {
    const int object = platform::OpenSharedObject(OBJECT, O_RDWR, 0);
    const bool whole = object >= 0 && lseek(object, 0, SEEK_END) == 100;
    close(object);
    return whole;
  }));
  EXPECT_EQ(platform::OpenSharedObject(OBJECT, O_RDWR | O_CREAT | O_EXCL, 0600), -1);
  EXPECT_EQ(errno, EEXIST);
  maker.Kill();
  const int object = platform::OpenSharedObject(OBJECT, O_RDWR | O_CREAT | O_EXCL, 0600);
  ASSERT_GE(object, 0);
  EXPECT_EQ(lseek(object, 0, SEEK_END), 0);
  close(object);
  EXPECT_EQ(platform::UnlinkSharedObject(OBJECT), 0);
  EXPECT_EQ(platform::OpenSharedObject(OBJECT, O_RDWR, 0), -1);
  EXPECT_EQ(errno, ENOENT);
}

}  // namespace
}  // namespace contract
