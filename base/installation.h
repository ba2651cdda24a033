// Where this program stands, and the configuration that belongs to it.
#pragma once

#include <string>

namespace base {

// The folder of this executable.
std::string ProgramFolder();

// The configuration: `given` where it is not empty, else $ORVIK_CONFIG, else the repository's where this
// executable stands in one of its build folders, else ./config. Throws std::runtime_error, which says what to
// do, when it is not there.
std::string FindConfigFolder(const std::string& given);

}  // namespace base
