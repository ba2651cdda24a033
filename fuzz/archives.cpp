// Fuzzes the reading of bundles.
//
// Checks: a refusal names the file; no path leads out of the folder; the bounds hold; what was read is the same
// after writing it and reading it again.
#include <filesystem>

#include "fuzz/fuzz_input.h"
#include "unit/bundle/archive.h"

void fuzz::RunInput(bytes_t input) {
  static const MemoryFile ARCHIVE;
  ARCHIVE.Write(TextOf(input));
  unit::archive_t content;
  try {
    content = unit::ReadArchive(ARCHIVE.Path());
  } catch (const std::runtime_error& error) {
    return Require(std::string_view(error.what()).starts_with(ARCHIVE.Path() + ": "));
  }
  std::size_t bytes = 0;
  for (const auto& [path, text] : content) {
    const std::filesystem::path inside = path;
    Require(inside.is_relative() && std::ranges::find(inside, "..") == inside.end());
    bytes += text.size();
  }
  Require(content.size() <= unit::MAX_ARCHIVE_FILES && bytes <= unit::MAX_ARCHIVE_BYTES);
  if (bytes > 1U << 20U) return;
  ARCHIVE.Write({});
  unit::WriteArchive(ARCHIVE.Path(), content);
  Require(unit::ReadArchive(ARCHIVE.Path()) == content);
}
