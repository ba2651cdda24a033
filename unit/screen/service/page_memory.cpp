#include "unit/screen/service/page_memory.h"

#include <array>
#include <string_view>
#include <tuple>

#include <fcntl.h>
#include <unistd.h>

#include "platform/paths.h"

namespace unit {
namespace {

constexpr std::size_t RECORD = 64;  // a name that is longer is not kept

}  // namespace

PageMemory::PageMemory()
    : path_(platform::RuntimeDirectory() + "/screen.page"),
      file_(open(path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600)) {
  std::array<char, RECORD> record{};
  const ssize_t size = file_.Get() < 0 ? 0 : pread(file_.Get(), record.data(), record.size(), 0);
  const std::string_view text(record.data(), size < 0 ? 0 : static_cast<std::size_t>(size));
  remembered_ = text.substr(0, text.find('\n'));
}

void PageMemory::Forget() {
  unlink(path_.c_str());
}

void PageMemory::Write(const std::string& page) {
  if (page == remembered_) return;
  remembered_ = page;
  if (file_.Get() < 0 || page.size() >= RECORD) return;
  std::array<char, RECORD> record{};
  page.copy(record.data(), page.size());
  record[page.size()] = '\n';
  std::ignore = pwrite(file_.Get(), record.data(), record.size(), 0);
}

}  // namespace unit
