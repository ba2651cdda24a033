#include "unit/program/run_lock.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/paths.h"

namespace unit {
namespace {

// The process id is only for the message of Refuse; the lock holds without it.
void WriteHolder(int descriptor) {
  const std::string process = std::to_string(getpid());
  if (ftruncate(descriptor, 0) != 0) return;
  [[maybe_unused]] const ssize_t written = pwrite(descriptor, process.data(), process.size(), 0);
}

std::string ReadHolder(int descriptor) {
  std::array<char, 32> text{};
  const ssize_t got = pread(descriptor, text.data(), text.size() - 1, 0);
  return got > 0 ? " (process " + std::string(text.data()) + ")" : std::string();
}

// The holder removes its file at its end. A lock on a file that was removed after it was opened is worthless:
// the next process makes a new file and locks that.
bool IsStillThere(int descriptor, const std::string& file) {
  struct stat open {};
  struct stat there {};
  return fstat(descriptor, &open) == 0 && stat(file.c_str(), &there) == 0 && open.st_ino == there.st_ino &&
         open.st_dev == there.st_dev;
}

}  // namespace

RunLock::RunLock(const std::string& service)
    : file_(platform::RuntimeDirectory() + "/unit." + service + ".lock") {
  while (!TryLock(service)) {
  }
}

// False when the file was removed before it was locked; the caller tries again.
bool RunLock::TryLock(const std::string& service) {
  descriptor_ = open(file_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  if (descriptor_ < 0) {
    throw std::runtime_error("cannot write " + file_ + ": " + std::strerror(errno) +
                             "; set ORVIK_RUNTIME_DIR to a folder of your own");
  }
  if (flock(descriptor_, LOCK_EX | LOCK_NB) != 0) Refuse(service);
  if (!IsStillThere(descriptor_, file_)) {
    close(std::exchange(descriptor_, -1));
    return false;
  }
  WriteHolder(descriptor_);
  return true;
}

void RunLock::Refuse(const std::string& service) {
  const std::string holder = ReadHolder(descriptor_);
  close(std::exchange(descriptor_, -1));
  throw std::runtime_error(service + " already runs in " + platform::RuntimeDirectory() + holder +
                           "; stop it first, or set ORVIK_RUNTIME_DIR to another folder");
}

RunLock::RunLock(RunLock&& other) noexcept
    : file_(std::move(other.file_)), descriptor_(std::exchange(other.descriptor_, -1)) {}

RunLock::~RunLock() {
  if (descriptor_ < 0) return;
  unlink(file_.c_str());
  close(descriptor_);
}

}  // namespace unit
