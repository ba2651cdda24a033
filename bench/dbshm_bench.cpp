// Measures accesses to the parameter database. For comparison: the same work under the bare lock, and under a
// process-shared, robust, priority-inheriting pthread mutex.
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <benchmark/benchmark.h>
#include <pthread.h>
#include <sys/mman.h>

#include "platform/clock.h"
#include "platform/shared_memory.h"

#include "src/services/dbshm.h"

namespace {

constexpr unsigned HANDLE = 100;

void BmWrite(benchmark::State& state) {
  double value = 0;
  for (auto _ : state) DBSHM::Write(HANDLE, value += state.range(0) != 0 ? 1.0 : 0.0);
}
BENCHMARK(BmWrite)->ArgName("changing")->Arg(0)->Arg(1);

void BmWriteTimed(benchmark::State& state) {
  for (auto _ : state) DBSHM::Write(HANDLE, 1.0, 1000, true);
}
BENCHMARK(BmWriteTimed);

void BmRead(benchmark::State& state) {
  DBSHM::Write(HANDLE, 1.0);
  double value = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(DBSHM::Read(HANDLE, value));
    benchmark::DoNotOptimize(value);
  }
}
BENCHMARK(BmRead);

// Shared memory for one lock and one value.
template <class Lock>
struct shared_t {
  Lock lock;
  double value;
  static shared_t& Map() {
    void* memory = mmap(nullptr, sizeof(shared_t), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    return *static_cast<shared_t*>(memory);
  }
  void CompareAndStore(double next) {
    // Compares the bytes, as the database does.
    if (std::bit_cast<std::uint64_t>(value) != std::bit_cast<std::uint64_t>(next)) value = next;
    benchmark::ClobberMemory();
  }
};

void BmBareLock(benchmark::State& state) {
  auto& shared = shared_t<platform::shared_lock_t>::Map();
  platform::InitSharedLock(shared.lock);
  double value = 0;
  for (auto _ : state) {
    if (!platform::TakeFreeLock(shared.lock)) std::abort();
    shared.CompareAndStore(value += 1.0);
    platform::UnlockShared(shared.lock);
  }
}
BENCHMARK(BmBareLock);

// For comparison with the timed write, which needs the time too.
void BmClock(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(ClockCycles());
}
BENCHMARK(BmClock);

void BmRobustMutex(benchmark::State& state) {
  auto& shared = shared_t<pthread_mutex_t>::Map();
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
  pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
  pthread_mutexattr_setprotocol(&attributes, PTHREAD_PRIO_INHERIT);
  pthread_mutex_init(&shared.lock, &attributes);
  double value = 0;
  for (auto _ : state) {
    pthread_mutex_lock(&shared.lock);
    shared.CompareAndStore(value += 1.0);
    pthread_mutex_unlock(&shared.lock);
  }
}
BENCHMARK(BmRobustMutex);

}  // namespace

int main(int argc, char** argv) {
  std::string directory = (std::filesystem::temp_directory_path() / "orvik-bench-XXXXXX").string();
  if (mkdtemp(directory.data()) == nullptr) return EXIT_FAILURE;
  setenv("ORVIK_RUNTIME_DIR", directory.c_str(), 1);
  DBSHM::Init();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  platform::UnlinkSharedObject(dbshm_layout::OBJECT_NAME);
  std::filesystem::remove_all(directory);
  return EXIT_SUCCESS;
}
