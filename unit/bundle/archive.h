// A compressed archive (tar, gzip) of a few files that fit into memory.
#pragma once

#include <cstddef>
#include <map>
#include <string>

namespace unit {

using archive_t = std::map<std::string, std::string>;  // path inside the archive, content

// What one archive may hold when it is read: a bundle is some 30 MB at most.
constexpr std::size_t MAX_ARCHIVE_BYTES = 256U << 20U;
constexpr std::size_t MAX_ARCHIVE_FILES = 1000;

// Both throw std::runtime_error with the file's name and what is wrong. Reading refuses whatever is no plain
// file, has a path that leads out of the archive, or goes beyond the bounds.
void WriteArchive(const std::string& file, const archive_t& content);
archive_t ReadArchive(const std::string& file);

}  // namespace unit
