#include "base/whole_file.h"

#include <filesystem>
#include <fstream>

namespace base {

bool ReplaceFile(const std::string& path, const std::string& text) {
  const std::string fresh = path + ".new";
  std::ofstream file(fresh, std::ios::binary | std::ios::trunc);
  file << text;
  file.close();
  std::error_code error;
  if (file) std::filesystem::rename(fresh, path, error);
  if (file && !error) return true;
  std::filesystem::remove(fresh, error);
  return false;
}

}  // namespace base
