#include "unit/blackbox/rolling_log.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/paths.h"

namespace unit {
namespace {

constexpr const char* NEWEST = ".log";
constexpr const char* BEFORE = ".1.log";

}  // namespace

std::string BlackBoxFolder() {
  return platform::RuntimeDirectory() + "/blackbox";
}

std::string ReadBlackBox(const std::string& name) {
  std::ostringstream text;
  for (const char* suffix : {BEFORE, NEWEST}) {
    const std::ifstream file(BlackBoxFolder() + "/" + name + suffix, std::ios::binary);
    if (file && file.rdbuf()->in_avail() != 0) text << file.rdbuf();
  }
  return text.str();
}

RollingLog::RollingLog(std::string name, std::size_t bytes) : name_(std::move(name)), most_(bytes) {
  ::mkdir(BlackBoxFolder().c_str(), S_IRWXU);
  Begin();
  if (file_.Get() < 0) {
    std::cerr << "unit: no black box: " << Path(NEWEST) << ": " << std::strerror(errno) << std::endl;
  }
}

std::string RollingLog::Path(const char* suffix) const {
  return BlackBoxFolder() + "/" + name_ + suffix;
}

// What is there becomes the older file, unless it is empty.
void RollingLog::Begin() {
  std::error_code absent;
  if (std::filesystem::file_size(Path(NEWEST), absent) > 0 && !absent) {
    static_cast<void>(std::rename(Path(NEWEST).c_str(), Path(BEFORE).c_str()));
  }
  file_ = base::Descriptor(
      ::open(Path(NEWEST).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, S_IRUSR | S_IWUSR));
  size_ = 0;
}

void RollingLog::Write(std::string_view line) {
  std::string text(line);
  text += '\n';
  const std::lock_guard lock(mutex_);
  if (file_.Get() < 0) return;
  if (size_ + text.size() > most_) Begin();
  // One call a line: what is written stands there even when this process is killed next.
  const ssize_t written = ::write(file_.Get(), text.data(), text.size());
  if (written > 0) size_ += static_cast<std::size_t>(written);
}

void RollingLog::WriteStamped(std::string_view name, std::string_view line) {
  std::timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  std::ostringstream text;
  text << now.tv_sec << '.' << std::setfill('0') << std::setw(6) << now.tv_nsec / 1000 << ' ' << name << ' '
       << line;
  Write(text.view());
}

}  // namespace unit
