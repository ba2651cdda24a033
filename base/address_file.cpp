#include "base/address_file.h"

#include <filesystem>
#include <fstream>

#include "platform/paths.h"

#include "base/whole_file.h"

namespace base {

std::string RuntimePath(const char* file) {
  const std::string directory = platform::RuntimeDirectory();
  return directory.empty() ? directory : directory + "/" + file;
}

std::string ReadAddressFile(const char* file) {
  std::string address;
  std::getline(std::ifstream(RuntimePath(file)), address);
  return address;
}

bool WriteAddressFile(const char* file, const std::string& address) {
  return ReplaceFile(RuntimePath(file), address + "\n");
}

void RemoveAddressFile(const char* file) {
  std::error_code ignored;
  std::filesystem::remove(RuntimePath(file), ignored);
}

}  // namespace base
