// Tables of one process, which forked children do not inherit.
#pragma once

#include <cstdlib>
#include <vector>

#include "platform/linux/unshared_descriptor.h"

namespace platform {

// The tables of this process. The first call creates them and registers AtExit for the end of the process. A
// forked child starts with empty tables. The parent's tables are kept and not used there, because other threads
// of the parent may have been changing them during the fork.
template <class Tables, void (*AtExit)()>
Tables& TablesOfThisProcess() {
  static std::vector<Tables*>& ofParents = *new std::vector<Tables*>;
  static Tables* tables = [] {
    static_cast<void>(std::atexit(AtExit));
    AtForkInChild([] {
      ofParents.push_back(tables);
      tables = new Tables;
    });
    return new Tables;
  }();
  return *tables;
}

}  // namespace platform
