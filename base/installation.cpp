#include "base/installation.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace base {
namespace {

namespace fs = std::filesystem;

bool IsFolder(const fs::path& path) {
  std::error_code ignored;
  return fs::is_directory(path, ignored);
}

}  // namespace

std::string ProgramFolder() {
  return fs::read_symlink("/proc/self/exe").parent_path();
}

std::string FindConfigFolder(const std::string& given) {
  const char* environment = std::getenv("ORVIK_CONFIG");
  if (!given.empty() || (environment != nullptr && *environment != '\0')) {
    std::string folder = given.empty() ? environment : given;
    if (IsFolder(folder)) return folder;
    throw std::runtime_error("there is no folder " + folder + "; name the configuration with --config DIR");
  }
  for (const fs::path& folder : {fs::path(ProgramFolder()) / ORVIK_CONFIG_FROM_BIN, fs::path("config")}) {
    if (IsFolder(folder)) return fs::canonical(folder);
  }
  throw std::runtime_error("no configuration found; name its folder with --config DIR or in ORVIK_CONFIG");
}

}  // namespace base
