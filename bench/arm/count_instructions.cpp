// A plugin of QEMU's user-mode emulation that counts the instructions of each thread.
//
//   qemu-arm -plugin libcount_instructions.so,out=FILE PROGRAM...
//
// FILE is a table that a reader maps or reads at any time: for each thread, in the order of their first
// instruction, its id as the kernel has it and its instructions so far, both as unsigned 64-bit words in the
// machine's byte order; unused rows are zero. What the kernel does for a thread is not counted, because it runs
// outside the emulation.
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string_view>
#include <tuple>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

// The calls of QEMU's published plugin interface, version 1, that are used here. QEMU exports them to the
// plugin.
// NOLINTBEGIN(readability-identifier-naming): QEMU's names
extern "C" {
struct qemu_plugin_tb;
int qemu_plugin_version = 1;
std::size_t qemu_plugin_tb_n_insns(const qemu_plugin_tb* block);
void qemu_plugin_register_vcpu_tb_trans_cb(std::uint64_t id, void (*call)(std::uint64_t, qemu_plugin_tb*));
void qemu_plugin_register_vcpu_tb_exec_cb(qemu_plugin_tb* block, void (*call)(unsigned, void*), int registers,
                                          void* argument);
int qemu_plugin_install(std::uint64_t id, const void* machine, int count, char** words);
}
// NOLINTEND(readability-identifier-naming)

namespace {

constexpr std::size_t MAX_THREADS = 256;
constexpr int NO_REGISTERS = 0;

struct row_t {
  std::atomic<std::uint64_t> thread;
  std::atomic<std::uint64_t> instructions;
};
using table_t = std::array<row_t, MAX_THREADS>;

table_t* table = nullptr;           // lives as long as the process
std::atomic<std::size_t> rows = 0;  // taken

// The row of the calling thread. Threads beyond the table share its last row.
row_t& RowOfThread() {
  thread_local row_t* row = nullptr;
  if (row == nullptr) {
    const std::size_t number = rows.fetch_add(1);
    row = &table->at(number < MAX_THREADS ? number : MAX_THREADS - 1);
    row->thread.store(static_cast<std::uint64_t>(gettid()), std::memory_order_relaxed);
  }
  return *row;
}

// A block of instructions is run from its first to its last one, but for an exception within it, which is rare.
void CountBlock(unsigned, void* argument) {
  RowOfThread().instructions.fetch_add(reinterpret_cast<std::uintptr_t>(argument), std::memory_order_relaxed);
}

void FollowBlock(std::uint64_t, qemu_plugin_tb* block) {
  const std::size_t instructions = qemu_plugin_tb_n_insns(block);
  // The argument is the number itself. NOLINTNEXTLINE(performance-no-int-to-ptr)
  qemu_plugin_register_vcpu_tb_exec_cb(block, CountBlock, NO_REGISTERS, reinterpret_cast<void*>(instructions));
}

bool MapTable(const char* path) {
  const int file = open(path, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (file < 0) return false;
  void* mapped = MAP_FAILED;
  if (ftruncate(file, sizeof(table_t)) == 0)
    mapped = mmap(nullptr, sizeof(table_t), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  close(file);
  if (mapped == MAP_FAILED) return false;
  table = static_cast<table_t*>(mapped);
  return true;
}

}  // namespace

// NOLINTNEXTLINE(readability-identifier-naming)
int qemu_plugin_install(std::uint64_t id, const void*, int count, char** words) {
  constexpr std::string_view OUT = "out=";
  if (count != 1 || !std::string_view(words[0]).starts_with(OUT) || !MapTable(words[0] + OUT.size())) {
    std::ignore = std::fputs("count_instructions: give out=FILE, in a folder that can be written to\n", stderr);
    return 1;
  }
  qemu_plugin_register_vcpu_tb_trans_cb(id, FollowBlock);
  return 0;
}
