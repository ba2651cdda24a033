// Tables of one process, which forked children do not inherit.
#pragma once

#include <atomic>
#include <cstdlib>

#include "platform/linux/unshared_descriptor.h"

namespace platform {

// The tables of this process. The first call creates them and registers AtExit for the end of the process. A
// forked child starts with empty tables, made when it asks for them: a thread of the parent may hold the
// allocator's lock during the fork. The parent's tables are kept and not used there, because other threads of
// the parent may have been changing them.
template <class Tables, void (*AtExit)()>
Tables& TablesOfThisProcess() {
  struct owned_t {
    Tables tables;
    owned_t* ofParent;
  };
  static std::atomic<owned_t*> current = nullptr;
  static owned_t* ofParent = nullptr;  // changed by the only thread of a forked child
  [[maybe_unused]] static const bool registered = [] {
    AtForkInChild([] {
      if (owned_t* const tables = current.exchange(nullptr)) ofParent = tables;
    });
    return std::atexit(AtExit) == 0;
  }();
  owned_t* known = current.load(std::memory_order_acquire);
  if (known != nullptr) return known->tables;
  auto* const made = new owned_t{{}, ofParent};
  if (current.compare_exchange_strong(known, made)) return made->tables;
  delete made;  // another thread was first
  return known->tables;
}

}  // namespace platform
