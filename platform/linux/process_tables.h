// Tables that belong to one process.
#pragma once

#include <cstdlib>
#include <vector>

#include "platform/linux/descriptor.h"

namespace platform {

// The tables of this process, made by their first use; AT_EXIT is called at its orderly end. A forked child
// starts with empty ones: what its parent had stays where it is, referred to and not used, since other threads
// of the parent may have been in the middle of it.
template <class Tables, void (*AtExit)()>
Tables& TablesOfThisProcess() {
  static std::vector<Tables*>& ofTheParents = *new std::vector<Tables*>;
  static Tables* tables = [] {
    static_cast<void>(std::atexit(AtExit));
    AtForkInChild([] {
      ofTheParents.push_back(tables);
      tables = new Tables;
    });
    return new Tables;
  }();
  return *tables;
}

}  // namespace platform
