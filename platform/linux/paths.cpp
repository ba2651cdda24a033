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

// As mkdir -p; new directories have mode 0700.
bool CreateDirectories(const std::string& path) {
  if (mkdir(path.c_str(), PRIVATE) == 0 || errno == EEXIST) return true;
  const auto slash = path.find_last_of('/');
  if (errno != ENOENT || slash == std::string::npos || slash == 0) return false;
  return CreateDirectories(path.substr(0, slash)) && (mkdir(path.c_str(), PRIVATE) == 0 || errno == EEXIST);
}

bool IsOurDirectory(const struct stat& status) {
  if (S_ISDIR(status.st_mode) && status.st_uid == geteuid()) return true;
  errno = S_ISDIR(status.st_mode) ? EACCES : ENOTDIR;
  return false;
}

// A directory that the user chose. A symbolic link to a directory is allowed.
std::string ChosenDirectory(const std::string& path) {
  struct stat status {};
  if (!CreateDirectories(path) || stat(path.c_str(), &status) != 0 || !IsOurDirectory(status)) return {};
  return path;
}

// Every user can write to /tmp, so a symbolic link of another user must not be followed.
std::string FallbackDirectory() {
  std::string path = "/tmp/orvik-" + std::to_string(geteuid());
  struct stat status {};
  if (!CreateDirectories(path) || lstat(path.c_str(), &status) != 0 || !IsOurDirectory(status)) return {};
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
