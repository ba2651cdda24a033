#include "unit/program/run_folder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "platform/paths.h"

#include "base/installation.h"

namespace unit {
namespace {

namespace fs = std::filesystem;

constexpr const char* DATE_PROGRAM = "fs/etfs/app/orvik/bin/date";
constexpr const char* RESOURCE_PROGRAMS = "fs/etfs/resources/bin";

}  // namespace

std::string FindProgram(const std::string& name) {
  const fs::path program = fs::path(base::ProgramFolder()) / name;
  if (fs::exists(program)) return program;
  throw std::runtime_error("there is no program " + program.string() +
                           "; build it, or leave it out with --without " + name);
}

std::string PrepareRoot(const std::string& configDirectory) {
  const fs::path root = fs::path(platform::RuntimeDirectory()) / "root";
  const fs::path date = root / DATE_PROGRAM;
  try {
    const fs::path original = fs::path(configDirectory) / "root";
    fs::create_directories(root);
    if (fs::is_directory(original)) {
      fs::copy(original, root, fs::copy_options::recursive | fs::copy_options::update_existing);
    }
    fs::create_directories(date.parent_path());
    fs::create_directories(root / RESOURCE_PROGRAMS);
    if (!fs::exists(date)) std::ofstream(date) << "#!/bin/sh\nexec date \"$@\"\n";
    fs::permissions(date, fs::perms::owner_all);
  } catch (const fs::filesystem_error& error) {
    throw std::runtime_error(std::string("cannot prepare the unit's files: ") + error.what());
  }
  setenv("ORVIK_ROOT", root.c_str(), 1);
  return root;
}

}  // namespace unit
