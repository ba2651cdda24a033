// Making the shared object, filling it and taking it away again: what only the owner of the database does.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include <sys/types.h>

#include "unit/database/parameter_list.h"

namespace unit {

// Makes the object, first taking away one that a dead owner left behind, and fills the name table, the first
// values and the notification values. Throws std::runtime_error when another process owns it or it cannot be
// made.
void MakeDatabase(std::span<const parameter_t> parameters);
// Removes the object and the owner's channel. What this process mapped stays readable.
void RemoveDatabase();

// The names and handles in the object that this process has attached to, in the table's order. Damaged entries
// are left out.
struct named_t {
  std::string name;
  unsigned handle;
};
std::vector<named_t> ReadNameTable();

// A look at the object without attaching to it.
enum class database_state_t {
  NONE,     // there is no such object
  ORPHAN,   // its owner is dead, or it is not a database
  FILLING,  // its owner has not yet finished making it
  COMPLETE,
};
database_state_t LookAtDatabase();

// What tells an object from the next one of the same name.
struct object_id_t {
  dev_t device;
  ino_t number;
  bool operator==(const object_id_t&) const = default;
};
// The database that LookAtDatabase finds complete; empty where it finds none.
std::optional<object_id_t> IdentifyDatabase();

// Tells DatabaseView that this process made the database itself.
void NoteDatabaseAttached();

}  // namespace unit
