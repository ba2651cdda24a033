// `unit bundle --list`: shows what a bundle has, without unpacking it.
#pragma once

#include <functional>
#include <string>

namespace unit {

// Prints one line about the bundle, then size and name of each file; with `asJson` one object
// {"about":{...},"files":[{"name":...,"bytes":...}]}. Reads the archive as ReadForeignArchive does. Returns the
// exit status.
int ListBundle(const std::string& file, bool asJson, const std::function<bool()>& goOn);

}  // namespace unit
