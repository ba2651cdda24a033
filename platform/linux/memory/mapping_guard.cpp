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
  std::atomic<std::uint8_t*> begin{nullptr};
  std::atomic<std::size_t> size{0};
};

std::mutex guardedMutex;  // of those who add and remove; the handler takes no lock
std::array<guarded_t, 8> guarded;
static_assert(std::atomic<std::uint8_t*>::is_always_lock_free, "the signal handler reads them");

bool ReplaceMapping(const void* address) {
  const auto at = reinterpret_cast<std::uintptr_t>(address);
  for (const guarded_t& each : guarded) {
    std::uint8_t* const memory = each.begin.load();
    const auto begin = reinterpret_cast<std::uintptr_t>(memory);
    const std::size_t size = each.size.load();
    if (memory == nullptr || at < begin || at - begin >= size) continue;
    return mmap(memory, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) !=
           MAP_FAILED;
  }
  return false;
}

void SetHandler(const struct sigaction& action) {
  sigaction(SIGBUS, &action, nullptr);
}

void AnswerBusError(int /*signal*/, siginfo_t* info, void* /*context*/) {
  if (ReplaceMapping(info->si_addr)) return;
  // Of another mapping: the access is repeated and ends the process as it would without the handler.
  struct sigaction usual {};
  usual.sa_handler = SIG_DFL;
  SetHandler(usual);
}

void InstallHandler() {
  struct sigaction action {};
  action.sa_sigaction = AnswerBusError;
  action.sa_flags = SA_SIGINFO | SA_ONSTACK;
  sigemptyset(&action.sa_mask);
  SetHandler(action);
}

}  // namespace

void GuardMapping(void* memory, std::size_t size) {
  static std::once_flag installed;
  std::call_once(installed, InstallHandler);
  const std::lock_guard lock(guardedMutex);
  for (guarded_t& each : guarded) {
    if (each.begin.load() != nullptr) continue;
    each.size.store(size);
    each.begin.store(static_cast<std::uint8_t*>(memory));
    return;
  }
}

void ForgetMapping(void* memory) {
  const std::lock_guard lock(guardedMutex);
  for (guarded_t& each : guarded) {
    if (each.begin.load() == memory) each.begin.store(nullptr);
  }
}

}  // namespace platform
