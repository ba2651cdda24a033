#include "platform/paths.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sstream>

#include <sys/stat.h>
#include <unistd.h>

namespace platform {
namespace {

constexpr mode_t PRIVATE = 0700;
constexpr mode_t OF_OTHERS = 077;

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

std::string ParentOf(const std::string& path) {
  const auto slash = path.find_last_of('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

std::string Octal(mode_t mode) {
  std::ostringstream text;
  text << '0' << std::oct << (mode & 07777U);
  return text.str();
}

// What is wrong with a directory that exists; empty where it is for this user alone.
std::string CheckPrivate(const std::string& path) {
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0) return std::string("cannot be read: ") + std::strerror(errno);
  if (S_ISLNK(status.st_mode)) return "is a symbolic link, which may lead elsewhere later";
  if (!S_ISDIR(status.st_mode)) return "is not a directory";
  if (status.st_uid != geteuid()) return "belongs to another user (uid " + std::to_string(status.st_uid) + ")";
  if ((status.st_mode & OF_OTHERS) != 0) {
    return "is open to other users (mode " + Octal(status.st_mode) + "); close it with: chmod 0700 " + path;
  }
  // In a directory like /tmp the sticky bit keeps other users from replacing it.
  if (stat(ParentOf(path).c_str(), &status) == 0 && (status.st_mode & S_IWOTH) != 0 &&
      (status.st_mode & S_ISVTX) == 0) {
    return "can be replaced by other users, because everybody may write to the directory around it";
  }
  return {};
}

std::string ChosenPath() {
  std::string path = Environment("ORVIK_RUNTIME_DIR");
  const std::string session = Environment("XDG_RUNTIME_DIR");
  if (path.empty()) path = session.empty() ? "/tmp/orvik-" + std::to_string(geteuid()) : session + "/orvik";
  // With a slash at its end, a symbolic link would be followed.
  while (path.size() > 1 && path.ends_with('/')) path.pop_back();
  return path;
}

// Makes the directory where it does not exist, and returns what is wrong with it.
std::string PrepareDirectory(const std::string& path) {
  if (!CreateDirectories(path)) return std::string("cannot be made: ") + std::strerror(errno);
  return CheckPrivate(path);
}

}  // namespace

std::string ResolveUnitPath(std::string_view path) {
  std::string root = Environment("ORVIK_ROOT");
  if (root.empty() || !path.starts_with('/')) return std::string(path);
  while (root.ends_with('/')) root.pop_back();
  return root.append(path);
}

std::string RuntimeDirectory() {
  const std::string path = ChosenPath();
  return PrepareDirectory(path).empty() ? path : std::string();
}

std::string RuntimeDirectoryProblem() {
  const std::string path = ChosenPath();
  const std::string problem = PrepareDirectory(path);
  if (problem.empty()) return {};
  return "the runtime directory " + path + " " + problem +
         ". Set ORVIK_RUNTIME_DIR to a folder of your own (mode 0700).";
}

}  // namespace platform
