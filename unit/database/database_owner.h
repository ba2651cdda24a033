// Making the shared object, filling it and taking it away again: what only the owner of the database does.
#pragma once

#include <span>
#include <vector>

#include "database/parameter_list.h"

namespace unit {

// Makes the object, first taking away one that a dead owner left behind, and fills the name table, the first
// values and the notification values. Throws std::runtime_error when another process owns it or it cannot be
// made.
void MakeDatabase(std::span<const Parameter_t> parameters);
// Removes the object and the owner's channel. What this process mapped stays readable.
void RemoveDatabase();

// The names and handles in the object that this process has attached to, in the table's order. Damaged entries
// are left out.
struct Named_t {
  std::string name;
  unsigned handle;
};
std::vector<Named_t> ReadNameTable();

// A look at the object without attaching to it.
enum class DatabaseState {
  kNone,     // there is no such object
  kOrphan,   // its owner is dead, or it is not a database
  kFilling,  // its owner has not yet finished making it
  kComplete,
};
DatabaseState LookAtDatabase();

// Tells AttachDatabase that this process made the database itself.
void NoteDatabaseAttached();

}  // namespace unit
