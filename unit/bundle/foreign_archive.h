// Reads an archive that somebody else has made, in a process that can do nothing but that.
#pragma once

#include <functional>
#include <string>

#include "unit/bundle/archive.h"

namespace unit {

// As ReadArchive, in a child process that can open no network and no file for writing and can run no program: a
// fault in the decompression or in the archive's format then gains nothing. What the child returns is checked
// again. Asks `goOn` ten times a second; throws std::runtime_error also when that returns false. For a program
// that has not many threads yet, because the child has copies of their locks.
archive_t ReadForeignArchive(const std::string& file, const std::function<bool()>& goOn);

}  // namespace unit
