#include "base/address_file.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "platform/paths.h"

#include "base/whole_file.h"

namespace base {
namespace {

// Empty where there is no runtime directory.
std::string PathOf(const char* file) {
  const std::string directory = platform::RuntimeDirectory();
  return directory.empty() ? directory : directory + "/" + file;
}

}  // namespace

std::string RuntimePath(const char* file) {
  std::string path = PathOf(file);
  if (path.empty()) throw RuntimeFolderError(platform::RuntimeDirectoryProblem());
  return path;
}

std::string ReadAddressFile(const char* file) {
  std::string address;
  std::getline(std::ifstream(PathOf(file)), address);
  return address;
}

bool WriteAddressFile(const char* file, const std::string& address) {
  return ReplaceFile(PathOf(file), address + "\n");
}

void RemoveAddressFile(const char* file) {
  std::error_code ignored;
  std::filesystem::remove(PathOf(file), ignored);
}

}  // namespace base
