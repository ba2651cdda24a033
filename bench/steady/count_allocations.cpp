// Counts the allocations of each thread. Preloaded into a program (LD_PRELOAD); steady_calls.py reads the
// counts.
//
// The file that ORVIK_ALLOCATIONS names holds one row of two 64-bit numbers for each thread: its id and its
// count.
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

// The C library's own functions.
extern "C" void* OwnMalloc(std::size_t size) asm("__libc_malloc");
extern "C" void* OwnCalloc(std::size_t count, std::size_t size) asm("__libc_calloc");
extern "C" void* OwnRealloc(void* memory, std::size_t size) asm("__libc_realloc");
extern "C" void* OwnMemalign(std::size_t alignment, std::size_t size) asm("__libc_memalign");

namespace {

struct row_t {
  std::uint64_t thread;
  std::uint64_t allocations;
};
using table_t = std::array<row_t, 256>;

table_t* OpenTable() {
  const char* const path = std::getenv("ORVIK_ALLOCATIONS");
  const int file = path != nullptr ? open(path, O_RDWR | O_CREAT | O_CLOEXEC, 0600) : -1;
  if (file < 0 || ftruncate(file, sizeof(table_t)) != 0) return nullptr;
  void* const memory = mmap(nullptr, sizeof(table_t), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  close(file);
  return memory != MAP_FAILED ? static_cast<table_t*>(memory) : nullptr;
}

std::atomic<std::size_t> usedRows;
// Of the initial-exec model, because the other one allocates.
[[gnu::tls_model("initial-exec")]] thread_local row_t* ownRow = nullptr;

void CountAllocation() {
  static table_t* const TABLE = OpenTable();
  if (TABLE == nullptr) return;
  if (ownRow == nullptr) {
    const std::size_t row = usedRows.fetch_add(1);
    if (row >= TABLE->size()) return;
    ownRow = &(*TABLE)[row];
    ownRow->thread = static_cast<std::uint64_t>(gettid());
  }
  ++ownRow->allocations;
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) {
  CountAllocation();
  return OwnMalloc(size);
}
void* calloc(std::size_t count, std::size_t size) {
  CountAllocation();
  return OwnCalloc(count, size);
}
void* realloc(void* memory, std::size_t size) {
  CountAllocation();
  return OwnRealloc(memory, size);
}
void* aligned_alloc(std::size_t alignment, std::size_t size) {
  CountAllocation();
  return OwnMemalign(alignment, size);
}

}  // extern "C"
