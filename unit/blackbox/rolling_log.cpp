#include "unit/blackbox/rolling_log.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <memory>
#include <set>
#include <sstream>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/paths.h"

#include "base/descriptor.h"

namespace unit {
namespace {

constexpr const char* NEWEST = ".log";
constexpr const char* BEFORE = ".1.log";

std::string PathOf(const std::string& name, const char* suffix) {
  return BlackBoxFolder() + "/" + name + suffix;
}

class RollingTarget : public LineTarget {
 public:
  RollingTarget(const std::string& name, std::size_t bytes)
      : newest_(PathOf(name, NEWEST)), before_(PathOf(name, BEFORE)), most_(bytes) {
    ::mkdir(BlackBoxFolder().c_str(), S_IRWXU);
    Begin();
  }
  std::string Write(const std::string& text) override;

 private:
  void Begin();

  const std::string newest_;
  const std::string before_;
  const std::size_t most_;
  base::Descriptor file_;
  std::size_t size_ = 0;
};

// The newest file becomes the older one, unless it is empty.
void RollingTarget::Begin() {
  std::error_code absent;
  if (std::filesystem::file_size(newest_, absent) > 0 && !absent) {
    static_cast<void>(std::rename(newest_.c_str(), before_.c_str()));
  }
  file_ = base::Descriptor(
      ::open(newest_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_APPEND, S_IRUSR | S_IWUSR));
  size_ = 0;
}

std::string RollingTarget::Write(const std::string& text) {
  if (file_.Get() < 0 || size_ + text.size() > most_) Begin();
  if (file_.Get() < 0) return std::strerror(errno);
  if (const int error = AppendText(file_.Get(), text); error != 0) return std::strerror(error);
  size_ += text.size();
  return {};
}

}  // namespace

std::string BlackBoxFolder() {
  const char* folder = std::getenv("ORVIK_LOG_DIR");
  if (folder != nullptr && *folder != '\0') return folder;
  return platform::RuntimeDirectory() + "/blackbox";
}

std::string ReadBlackBox(const std::string& name) {
  std::ostringstream text;
  for (const char* suffix : {BEFORE, NEWEST}) {
    const std::ifstream file(PathOf(name, suffix), std::ios::binary);
    if (file && file.rdbuf()->in_avail() != 0) text << file.rdbuf();
  }
  return text.str();
}

std::vector<std::string> FindBlackBoxes(std::string_view prefix) {
  std::set<std::string> names;
  std::error_code error;
  for (std::filesystem::directory_iterator file(BlackBoxFolder(), error), end; !error && file != end;
       file.increment(error)) {
    const std::string name = file->path().filename();
    if (name.starts_with(prefix) && name.ends_with(NEWEST)) names.insert(name.substr(0, name.find('.')));
  }
  return {names.begin(), names.end()};
}

RollingLog::RollingLog(const std::string& name, std::size_t bytes)
    : writer_("unit", "the black box " + PathOf(name, NEWEST), std::make_unique<RollingTarget>(name, bytes)) {}

void RollingLog::WriteStamped(std::string_view name, std::string_view line) {
  std::timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  std::ostringstream text;
  text << now.tv_sec << '.' << std::setfill('0') << std::setw(6) << now.tv_nsec / 1000 << ' ' << name << ' '
       << line;
  Write(text.view());
}

}  // namespace unit
