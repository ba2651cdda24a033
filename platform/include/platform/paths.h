// File paths: where the unit's own paths are on this system, and the directory of sockets and names.
#pragma once

#include <string>
#include <string_view>

namespace platform {

// Returns the path on this system of an absolute path of the unit ("/fs/etfs/app/orvik/Boom.png"): under
// $ORVIK_ROOT when that is set, otherwise unchanged.
std::string ResolveUnitPath(std::string_view path);

// The directory of sockets and names: $ORVIK_RUNTIME_DIR, else $XDG_RUNTIME_DIR/orvik, else /tmp/orvik-<uid>.
// Creates it with mode 0700 when it does not exist. Returns an empty string when it cannot be created or
// another user could reach into it: it must be a directory of this user with mode 0700 and no symbolic link,
// and the directory around it must not let other users replace it. The processes of one unit share the
// directory; two units on one machine use two directories.
std::string RuntimeDirectory();
// Why RuntimeDirectory returns an empty string, and what to do about it; empty where it returns a directory.
std::string RuntimeDirectoryProblem();

// Removes from the runtime directory the sockets, names and shared objects of killed processes. Everything that
// a living process holds stays. May be called at any time.
void RemoveRuntimeLeftovers();

}  // namespace platform
