#include "platform/linux/messages/leftovers.h"

#include <cerrno>
#include <charconv>
#include <csignal>
#include <filesystem>
#include <mutex>
#include <string>
#include <string_view>

#include <unistd.h>

#include "platform/linux/claim_file.h"
#include "platform/linux/memory/shared_object.h"
#include "platform/linux/runtime_socket.h"
#include "platform/paths.h"

namespace platform {
namespace {

bool IsProcessGone(std::string_view channelFile) {
  pid_t pid = 0;
  std::from_chars(channelFile.data(), channelFile.data() + channelFile.size(), pid);
  return pid > 0 && kill(pid, 0) != 0 && errno == ESRCH;
}

// The process with this id may be another one than the socket's owner, so the socket is tried too.
void CleanChannel(const std::string& path, std::string_view rest) {
  if (IsProcessGone(rest) || !IsSocketServed(path)) unlink(path.c_str());
}

// A socket has this name only before it listens, so it cannot be tried.
void CleanUnfinishedChannel(const std::string& path, std::string_view rest) {
  if (IsProcessGone(rest)) unlink(path.c_str());
}

void CleanName(const std::string& path, std::string_view /*rest*/) {
  ClaimFile::RemoveIfAbandoned(path, [] {});
}

void CleanShared(const std::string& path, std::string_view rest) {
  ClaimFile::RemoveIfAbandoned(path, [rest] { RemoveSharedMemory(rest); });
}

struct cleaner_t {
  std::string_view prefix;
  void (*clean)(const std::string& path, std::string_view rest);
};

constexpr cleaner_t CLEANERS[] = {
    {CHANNEL_PREFIX, CleanChannel},
    {UNFINISHED_CHANNEL_PREFIX, CleanUnfinishedChannel},
    {NAME_PREFIX, CleanName},
    {SHARED_PREFIX, CleanShared},
};

void CleanFile(const std::filesystem::path& path) {
  const std::string name = path.filename().string();
  for (const cleaner_t& cleaner : CLEANERS) {
    if (!name.starts_with(cleaner.prefix)) continue;
    cleaner.clean(path.string(), std::string_view(name).substr(cleaner.prefix.size()));
    return;
  }
}

}  // namespace

void RemoveRuntimeLeftovers() {
  std::error_code error;
  for (std::filesystem::directory_iterator file(RuntimeDirectory(), error), end; !error && file != end;
       file.increment(error)) {
    CleanFile(file->path());
  }
}

void RemoveRuntimeLeftoversOnce() {
  static std::once_flag once;
  std::call_once(once, RemoveRuntimeLeftovers);
}

}  // namespace platform
