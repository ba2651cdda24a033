// Where a run finds its programs and the unit's own files.
#pragma once

#include <string>

namespace unit {

// A program beside this one: "orvik". Throws std::runtime_error when it is not there.
std::string FindProgram(const std::string& name);

// Makes $RUNTIME/root, in which the unit's absolute paths are looked up: the configuration's root/ with what
// the application expects beside it. Returns its path; sets ORVIK_ROOT for this process and its children.
// Throws std::runtime_error.
std::string PrepareRoot(const std::string& configDirectory);

}  // namespace unit
