#include "platform/paths.h"

#include <cerrno>
#include <cstdlib>

#include <sys/stat.h>
#include <unistd.h>

namespace platform {
namespace {

constexpr mode_t PRIVATE = 0700;

std::string Environment(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

// mkdir -p, every new directory private.
bool MakeDirectories(const std::string& path) {
  if (mkdir(path.c_str(), PRIVATE) == 0 || errno == EEXIST) return true;
  const auto slash = path.find_last_of('/');
  if (errno != ENOENT || slash == std::string::npos || slash == 0) return false;
  return MakeDirectories(path.substr(0, slash)) && (mkdir(path.c_str(), PRIVATE) == 0 || errno == EEXIST);
}

bool IsOurDirectory(const struct stat& status) {
  if (S_ISDIR(status.st_mode) && status.st_uid == geteuid()) return true;
  errno = S_ISDIR(status.st_mode) ? EACCES : ENOTDIR;
  return false;
}

// A directory that the user chose; a symbolic link to it is as good.
std::string ChosenDirectory(const std::string& path) {
  struct stat status {};
  if (!MakeDirectories(path) || stat(path.c_str(), &status) != 0 || !IsOurDirectory(status)) return {};
  return path;
}

// /tmp is everybody's: a link that somebody else put there must not lead us astray.
std::string FallbackDirectory() {
  std::string path = "/tmp/orvik-" + std::to_string(geteuid());
  struct stat status {};
  if (!MakeDirectories(path) || lstat(path.c_str(), &status) != 0 || !IsOurDirectory(status)) return {};
  return path;
}

}  // namespace

std::string ResolveUnitPath(std::string_view path) {
  std::string root = Environment("ORVIK_ROOT");
  if (root.empty() || !path.starts_with('/')) return std::string(path);
  while (root.ends_with('/')) root.pop_back();
  return root.append(path);
}

std::string RuntimeDirectory() {
  if (const std::string chosen = Environment("ORVIK_RUNTIME_DIR"); !chosen.empty()) {
    return ChosenDirectory(chosen);
  }
  if (const std::string session = Environment("XDG_RUNTIME_DIR"); !session.empty()) {
    return ChosenDirectory(session + "/orvik");
  }
  return FallbackDirectory();
}

}  // namespace platform
