#include "base/address_file.h"

#include <filesystem>
#include <fstream>

#include "platform/paths.h"

#include "base/whole_file.h"

namespace base {
namespace {

std::string PathOf(const char* file) {
  return platform::RuntimeDirectory() + "/" + file;
}

}  // namespace

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
