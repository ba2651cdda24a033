// The kernel sends SIGBUS to who reads or writes a mapping beyond the end of its object. The handler puts
// zeroed memory in the place of the whole mapping, and the access is repeated there.
#include <array>
#include <atomic>
#include <csignal>
#include <cstdint>
#include <mutex>

#include <sys/mman.h>

#include "platform/shared_memory.h"

namespace platform {
namespace {

// `begin` is written last when a mapping is added, and first when it is removed.
struct guarded_t {
  std::atomic<std::uintptr_t> begin{0};
  std::atomic<std::size_t> size{0};
};

std::mutex guardedMutex;  // of those who add and remove; the handler takes no lock
std::array<guarded_t, 8> guarded;
static_assert(std::atomic<std::uintptr_t>::is_always_lock_free, "the signal handler reads them");

bool ReplaceMapping(std::uintptr_t address) {
  for (const guarded_t& each : guarded) {
    const std::uintptr_t begin = each.begin.load();
    const std::size_t size = each.size.load();
    if (begin == 0 || address < begin || address - begin >= size) continue;
    void* const memory = reinterpret_cast<void*>(begin);
    return mmap(memory, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) !=
           MAP_FAILED;
  }
  return false;
}

void AnswerBusError(int signal, siginfo_t* info, void* /*context*/) {
  // Of another mapping: the access is repeated and ends the process as it would without the handler.
  if (!ReplaceMapping(reinterpret_cast<std::uintptr_t>(info->si_addr))) ::signal(signal, SIG_DFL);
}

void InstallHandler() {
  struct sigaction action {};
  action.sa_sigaction = AnswerBusError;
  action.sa_flags = SA_SIGINFO | SA_ONSTACK;
  sigemptyset(&action.sa_mask);
  sigaction(SIGBUS, &action, nullptr);
}

}  // namespace

void GuardMapping(void* memory, std::size_t size) {
  static std::once_flag installed;
  std::call_once(installed, InstallHandler);
  const std::lock_guard lock(guardedMutex);
  for (guarded_t& each : guarded) {
    if (each.begin.load() != 0) continue;
    each.size.store(size);
    each.begin.store(reinterpret_cast<std::uintptr_t>(memory));
    return;
  }
}

void ForgetMapping(void* memory) {
  const std::lock_guard lock(guardedMutex);
  for (guarded_t& each : guarded) {
    if (each.begin.load() == reinterpret_cast<std::uintptr_t>(memory)) each.begin.store(0);
  }
}

}  // namespace platform
