// Where a run finds its programs and the unit's own files.
#pragma once

#include <string>

namespace unit {

// The path of a program in this executable's folder, such as "orvik". Throws std::runtime_error when it is not
// there.
std::string FindProgram(const std::string& name);

// Makes $RUNTIME/root, which stands for the display unit's root directory: the application looks up its
// absolute paths in it. Copies the configuration's root/ there and adds the folders and programs that the
// application expects. Returns its path and sets ORVIK_ROOT for this process and its children. Throws
// std::runtime_error.
std::string PrepareRoot(const std::string& configDirectory);

}  // namespace unit
