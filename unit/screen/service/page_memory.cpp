#include "unit/screen/service/page_memory.h"

#include <filesystem>
#include <fstream>

#include "platform/paths.h"

namespace unit {
namespace {

// The first line of a regular file; a FIFO would keep its reader for ever.
std::string ReadLine(const std::string& path) {
  std::error_code unknown;
  std::string line;
  if (!std::filesystem::is_regular_file(path, unknown)) return line;
  std::ifstream file(path);
  std::getline(file, line);
  return line;
}

}  // namespace

PageMemory::PageMemory() : PageMemory(platform::RuntimeDirectory() + "/screen.page") {}

PageMemory::PageMemory(const std::string& path) : file_(path), remembered_(ReadLine(path)) {}

void PageMemory::Forget() {
  file_.Remove();
}

void PageMemory::Write(const std::string& page) {
  if (page == remembered_) return;
  remembered_ = page;
  file_.Write(page + "\n");
}

}  // namespace unit
