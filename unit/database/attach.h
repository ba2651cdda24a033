// Access to the parameter database for the unit's other services.
#pragma once

#include <chrono>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <span>

#include "unit/database/parameter_list.h"

namespace unit {

// A service holds one while it reads the database; any number of threads may hold one at a time. The
// constructor attaches this process to the database, and to a new one that has replaced it: an owner that was
// started again makes a new shared object, and a process that stayed with the old one would read old values for
// ever.
class DatabaseView {
 public:
  static constexpr std::chrono::milliseconds LOOK_PERIOD{500};

  DatabaseView();
  // 0 where there is no database; else a number that is different for each database that was attached.
  unsigned Number() const;

 private:
  std::shared_lock<std::shared_mutex> lock_;  // keeps other threads from attaching to another database
};

// Makes the database (database_owner.h) and attaches the process to it; the owner calls it. When it has made
// one before, that one is removed first, while no thread of the process has a DatabaseView. Throws as
// MakeDatabase.
void MakeAttachedDatabase(std::span<const parameter_t> parameters);

// Detects that the database was replaced: a program that still has the old one writes values that no other
// process reads. For one thread.
class DatabaseWatch {
 public:
  // True once for each database that replaced an earlier one or appeared where there was none.
  bool WasReplaced();

 private:
  unsigned number_ = DatabaseView().Number();
};

// Attaches this process to the parameter database; waits at most `timeout_ms` for the owner to make it. False
// when there is none. A second call does nothing.
bool AttachDatabase(int timeout_ms);

// A parameter's value; empty where it is not valid. The process is attached to the database.
std::optional<double> ReadParameterValue(unsigned handle);

}  // namespace unit
