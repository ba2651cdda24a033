#include "platform/linux/claim_file.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {
namespace {

constexpr off_t HELD_BYTE = 0;
constexpr off_t COMPLETE_BYTE = 1;
constexpr std::size_t TEXT_SIZE = 128;
// A process that removes the file of a dead process holds the claim for some microseconds.
constexpr int ATTEMPTS = 200;
constexpr auto PAUSE = std::chrono::milliseconds(1);

struct flock ByteLock(off_t byte) {
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = byte;
  lock.l_len = 1;
  return lock;
}

// A lock of the open file description. A lock of the process would be lost when another descriptor of the file
// is closed.
bool LockByte(int file, off_t byte) {
  struct flock lock = ByteLock(byte);
  return fcntl(file, F_OFD_SETLK, &lock) == 0;
}

bool IsByteLocked(int file, off_t byte) {
  struct flock lock = ByteLock(byte);
  return fcntl(file, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

UnsharedDescriptor OpenFile(const std::string& path, int flags) {
  return UnsharedDescriptor::Make([&] { return open(path.c_str(), flags | O_CLOEXEC | O_NOFOLLOW, 0600); });
}

// Whether the open file is still the one at `path`: its last holder may have removed it after it was opened.
bool IsStillAt(int file, const std::string& path) {
  struct stat ours {};
  struct stat there {};
  return fstat(file, &ours) == 0 && stat(path.c_str(), &there) == 0 && ours.st_ino == there.st_ino &&
         ours.st_dev == there.st_dev;
}

bool WriteText(int file, const std::string& text) {
  return ftruncate(file, 0) == 0 &&
         pwrite(file, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()) &&
         LockByte(file, COMPLETE_BYTE);
}

bool IsHeldAndComplete(const std::string& path) {
  const UnsharedDescriptor file = OpenFile(path, O_RDONLY);
  return file && IsByteLocked(file.Get(), COMPLETE_BYTE);
}

}  // namespace

std::optional<ClaimFile> ClaimFile::TryLock(const std::string& path, missing_t missing) {
  for (;;) {
    UnsharedDescriptor file = OpenFile(path, O_RDWR | (missing == missing_t::CREATE ? O_CREAT : 0));
    if (!file) return std::nullopt;
    if (!LockByte(file.Get(), HELD_BYTE)) {
      if (errno == EAGAIN || errno == EACCES) errno = EEXIST;
      return std::nullopt;
    }
    if (IsStillAt(file.Get(), path)) return ClaimFile(std::move(file), path);
  }
}

std::optional<ClaimFile> ClaimFile::Take(const std::string& path, const std::string& text) {
  for (int attempt = 0; attempt < ATTEMPTS; ++attempt) {
    if (auto claim = TryLock(path, missing_t::CREATE)) return Complete(std::move(*claim), text);
    if (errno != EEXIST) return std::nullopt;
    if (IsHeldAndComplete(path)) break;
    std::this_thread::sleep_for(PAUSE);
  }
  errno = EEXIST;
  return std::nullopt;
}

std::optional<ClaimFile> ClaimFile::Complete(ClaimFile claim, const std::string& text) {
  if (WriteText(claim.file_.Get(), text)) return claim;
  const int error = errno;
  claim.Release();
  errno = error;
  return std::nullopt;
}

std::optional<std::string> ClaimFile::Read(const std::string& path) {
  const UnsharedDescriptor file = OpenFile(path, O_RDONLY);
  if (file && IsByteLocked(file.Get(), COMPLETE_BYTE)) {
    std::array<char, TEXT_SIZE> text{};
    const ssize_t size = pread(file.Get(), text.data(), text.size(), 0);
    if (size >= 0) return std::string(text.data(), static_cast<std::size_t>(size));
  }
  errno = ENOENT;
  return std::nullopt;
}

void ClaimFile::Release() {
  if (!file_) return;
  unlink(path_.c_str());  // while this process still holds the lock
  file_.Close();
}

}  // namespace platform
