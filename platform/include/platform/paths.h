// Where things stand on this system: the unit's own paths, and the directory of a run.
#pragma once

#include <string>
#include <string_view>

namespace platform {

// An absolute path of the unit ("/fs/etfs/app/orvik/Boom.png") as this system has it: under $ORVIK_ROOT where
// that is set, unchanged otherwise.
std::string ResolveUnitPath(std::string_view path);

// The directory of sockets and names: $ORVIK_RUNTIME_DIR, else $XDG_RUNTIME_DIR/orvik, else /tmp/orvik-<uid>.
// Made with mode 0700 where it is missing; empty when it cannot be made or belongs to somebody else. The
// processes of one unit share it, and it keeps two units on one machine apart.
std::string RuntimeDirectory();

// Removes from the runtime directory what killed processes left there: sockets, names and shared objects whose
// owners are gone. Everything that a living process holds stays. May be called at any time.
void RemoveRuntimeLeftovers();

}  // namespace platform
