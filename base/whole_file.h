// Files that other processes read while they are written.
#pragma once

#include <string>

namespace base {

// Writes a file beside the one of that name and moves it there in one step, so that a reader, and whoever comes
// after a crash, finds the old text or the new one whole. False when it cannot be written; the old one stays
// then.
bool ReplaceFile(const std::string& path, const std::string& text);

}  // namespace base
