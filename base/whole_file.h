// Writes files that other processes read at any time.
#pragma once

#include <string>

namespace base {

// Replaces the content of a file in one step: writes a second file and renames it. A reader, also one after a
// crash, finds either the old content or the new, never a part. False when the file cannot be written; the old
// content then stays.
bool ReplaceFile(const std::string& path, const std::string& text);

}  // namespace base
