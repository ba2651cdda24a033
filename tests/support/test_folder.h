// Temporary folders.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

// A new folder, which is removed with its content at the end.
class TestFolder {
 public:
  TestFolder() {
    std::string pattern = std::filesystem::temp_directory_path() / "orvik-test-XXXXXX";
    path_ = mkdtemp(pattern.data());
  }
  ~TestFolder() { std::filesystem::remove_all(path_); }
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;

  const std::filesystem::path& Path() const { return path_; }
  // Returns the file's path.
  std::string Write(const std::string& file, const std::string& text) const {
    std::ofstream(path_ / file) << text;
    return path_ / file;
  }

 private:
  std::filesystem::path path_;
};

// The runtime directory of this process and its children.
class RuntimeDirectoryForTest : public TestFolder {
 public:
  RuntimeDirectoryForTest() { setenv("ORVIK_RUNTIME_DIR", Path().c_str(), 1); }
};
