// Finds the folder of this program and the configuration that belongs to it.
#pragma once

#include <string>

namespace base {

// The folder of this executable.
std::string ProgramFolder();

// The configuration's folder: `given` where it is not empty, else $ORVIK_CONFIG. An installed program then takes
// /etc/orvik/config, or where there is none ../share/orvik/config beside its folder. A program in a build folder
// takes the repository's config/, or ./config. Throws std::runtime_error when that folder does not exist; the
// text says what to do.
std::string FindConfigFolder(const std::string& given);

}  // namespace base
