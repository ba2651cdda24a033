// Reads and writes a compressed archive (tar, gzip) of files that fit into memory.
#pragma once

#include <cstddef>
#include <filesystem>
#include <map>
#include <string>

namespace unit {

using archive_t = std::map<std::string, std::string>;  // path inside the archive, content

// Bounds of an archive that is read. A bundle has 60 MB at most.
constexpr std::size_t MAX_ARCHIVE_BYTES = 256U << 20U;
constexpr std::size_t MAX_ARCHIVE_FILES = 1000;

// Whether a path of an archive is absolute, empty, or has a step up.
bool LeadsOut(const std::filesystem::path& path);

// Both throw std::runtime_error with the file's name and the problem. ReadArchive refuses entries other than
// plain files and folders, paths that lead out of the archive, and archives beyond the bounds.
void WriteArchive(const std::string& file, const archive_t& content);
archive_t ReadArchive(const std::string& file);

}  // namespace unit
