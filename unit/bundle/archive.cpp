#include "unit/bundle/archive.h"

#include <ctime>
#include <filesystem>
#include <memory>
#include <stdexcept>

#include <archive.h>
#include <archive_entry.h>

namespace unit {
namespace {

struct free_entry_t {
  void operator()(archive_entry* entry) const { archive_entry_free(entry); }
};
struct free_reader_t {
  void operator()(archive* reader) const { archive_read_free(reader); }
};
struct free_writer_t {
  void operator()(archive* writer) const { archive_write_free(writer); }
};

constexpr std::size_t BLOCK = 65'536;
constexpr unsigned FILE_MODE = 0644;

[[noreturn]] void ThrowArchiveError(const std::string& file, const std::string& what) {
  throw std::runtime_error(file + ": " + what);
}

// libarchive gives no reason for some kinds of damage.
std::string WhyRefused(archive* from) {
  const char* const why = archive_error_string(from);
  return why != nullptr ? why : "is damaged";
}

void CheckArchive(const std::string& file, archive* from, long result) {
  if (result < ARCHIVE_WARN) ThrowArchiveError(file, WhyRefused(from));
}

std::string ReadContent(const std::string& file, archive* reader, std::size_t room) {
  std::string content;
  std::string block(BLOCK, '\0');
  for (;;) {
    const la_ssize_t got = archive_read_data(reader, block.data(), block.size());
    if (got < 0) ThrowArchiveError(file, WhyRefused(reader));
    if (got == 0) return content;
    content.append(block, 0, static_cast<std::size_t>(got));
    if (content.size() > room) ThrowArchiveError(file, "holds more than any bundle");
  }
}

}  // namespace

bool LeadsOut(const std::filesystem::path& path) {
  if (path.empty() || path.is_absolute()) return true;
  for (const auto& part : path) {
    if (part == "..") return true;
  }
  return false;
}

void WriteArchive(const std::string& file, const archive_t& content) {
  const std::unique_ptr<archive, free_writer_t> writer(archive_write_new());
  archive_write_add_filter_gzip(writer.get());
  archive_write_set_format_pax_restricted(writer.get());
  CheckArchive(file, writer.get(), archive_write_open_filename(writer.get(), file.c_str()));
  for (const auto& [path, text] : content) {
    const std::unique_ptr<archive_entry, free_entry_t> entry(archive_entry_new());
    archive_entry_set_pathname(entry.get(), path.c_str());
    archive_entry_set_size(entry.get(), static_cast<la_int64_t>(text.size()));
    archive_entry_set_filetype(entry.get(), AE_IFREG);
    archive_entry_set_perm(entry.get(), FILE_MODE);
    archive_entry_set_mtime(entry.get(), std::time(nullptr), 0);
    CheckArchive(file, writer.get(), archive_write_header(writer.get(), entry.get()));
    CheckArchive(file, writer.get(), archive_write_data(writer.get(), text.data(), text.size()));
  }
  CheckArchive(file, writer.get(), archive_write_close(writer.get()));
}

archive_t ReadArchive(const std::string& file) {
  const std::unique_ptr<archive, free_reader_t> reader(archive_read_new());
  archive_read_support_filter_gzip(reader.get());
  archive_read_support_format_tar(reader.get());
  CheckArchive(file, reader.get(), archive_read_open_filename(reader.get(), file.c_str(), BLOCK));
  archive_t content;
  std::size_t bytes = 0;
  archive_entry* entry = nullptr;
  for (int result = 0; (result = archive_read_next_header(reader.get(), &entry)) != ARCHIVE_EOF;) {
    CheckArchive(file, reader.get(), result);
    const char* path = archive_entry_pathname(entry);
    if (path == nullptr || LeadsOut(path))
      ThrowArchiveError(file, "is no bundle: a path in it leads elsewhere");
    if (archive_entry_filetype(entry) == AE_IFDIR) continue;
    if (archive_entry_filetype(entry) != AE_IFREG)
      ThrowArchiveError(file, "is no bundle: " + std::string(path));
    std::string text = ReadContent(file, reader.get(), MAX_ARCHIVE_BYTES - bytes);
    bytes += text.size();
    content.insert_or_assign(path, std::move(text));
    if (content.size() > MAX_ARCHIVE_FILES) ThrowArchiveError(file, "holds more files than any bundle");
  }
  return content;
}

}  // namespace unit
