// Makes, fills and removes the shared object of the parameter database. Only the database service, its owner,
// does so.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include <sys/types.h>

#include "unit/database/parameter_list.h"

namespace unit {

// Removes the object of an owner that is dead, makes a new one, and fills in names, first values and
// notification values. Throws std::runtime_error when another process owns the database or the object cannot be
// made.
void MakeDatabase(std::span<const parameter_t> parameters);
// Whether the object that MakeDatabase made is still there under its name, of full size and with its header.
// For the process that made it.
bool IsDatabaseWhole();
// Removes the object and the owner's channel. The mapping in this process stays readable.
void RemoveDatabase();

// The names and handles in the attached object, in the table's order, without damaged entries.
struct named_t {
  std::string name;
  unsigned handle;
};
std::vector<named_t> ReadNameTable();

// The state of the object; the process is not attached to it.
enum class database_state_t {
  NONE,     // there is no such object
  ORPHAN,   // its owner is dead, or it is not a database
  FILLING,  // its owner has not finished filling it
  COMPLETE,
};
database_state_t LookAtDatabase();

// Identifies a shared object among those that had the same name one after the other.
struct object_id_t {
  dev_t device;
  ino_t number;
  bool operator==(const object_id_t&) const = default;
};
// The database that is COMPLETE; empty where there is none.
std::optional<object_id_t> IdentifyDatabase();

}  // namespace unit
