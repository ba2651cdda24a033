#include "base/installation.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <vector>

namespace base {
namespace {

namespace fs = std::filesystem;

// Where `cmake --install` puts the configuration, seen from the programs' folder.
constexpr const char* INSTALLED_CONFIG = "../share/orvik/config";
// A configuration of this machine, which takes the place of the installed one.
constexpr const char* CONFIG_OF_MACHINE = "/etc/orvik/config";

bool IsFolder(const fs::path& path) {
  std::error_code ignored;
  return fs::is_directory(path, ignored);
}

// In the order of the search. A program in a build folder never takes the machine's configuration: it may be of
// another version, and the tests would depend on the machine.
std::vector<fs::path> ConfigPlaces() {
  const fs::path programs = ProgramFolder();
  const fs::path installed = programs / INSTALLED_CONFIG;
  if (IsFolder(installed)) return {CONFIG_OF_MACHINE, installed};
  return {programs / ORVIK_CONFIG_FROM_BIN, "config"};
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
  for (const fs::path& folder : ConfigPlaces()) {
    if (IsFolder(folder)) return fs::canonical(folder);
  }
  throw std::runtime_error("no configuration found; name its folder with --config DIR or in ORVIK_CONFIG");
}

}  // namespace base
