// A runtime directory of a test's own.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

// Made for this process and its children; removed at the end.
class RuntimeDirectoryForTest {
 public:
  RuntimeDirectoryForTest() {
    std::string pattern = (std::filesystem::temp_directory_path() / "orvik-test-XXXXXX").string();
    path_ = mkdtemp(pattern.data());
    setenv("ORVIK_RUNTIME_DIR", path_.c_str(), 1);
  }
  ~RuntimeDirectoryForTest() { std::filesystem::remove_all(path_); }
  RuntimeDirectoryForTest(const RuntimeDirectoryForTest&) = delete;
  RuntimeDirectoryForTest& operator=(const RuntimeDirectoryForTest&) = delete;

  const std::string& Path() const { return path_; }

 private:
  std::string path_;
};
