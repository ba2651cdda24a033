// Finds the folder of this program and the configuration that belongs to it.
#pragma once

#include <string>

namespace base {

// The folder of this executable.
std::string ProgramFolder();

// The configuration's folder: `given` where it is not empty, else $ORVIK_CONFIG, else the repository's config/
// where this executable is in one of its build folders, else ./config. Throws std::runtime_error when that
// folder does not exist; the text says what to do.
std::string FindConfigFolder(const std::string& given);

}  // namespace base
