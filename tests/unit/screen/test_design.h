// A folder of small pages for tests.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace unit {

// Made anew, removed when destroyed.
class TestFolder {
 public:
  TestFolder() {
    std::string name = std::filesystem::temp_directory_path() / "orvik-design-XXXXXX";
    path_ = mkdtemp(name.data());
  }
  ~TestFolder() { std::filesystem::remove_all(path_); }
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;

  const std::filesystem::path& Path() const { return path_; }
  void Write(const std::string& file, const std::string& content) const {
    std::ofstream(path_ / file) << content;
  }

 private:
  std::filesystem::path path_;
};

inline std::string Page(const std::string& name, int order, const std::string& content,
                        const std::string& transitions) {
  return R"(<svg xmlns="http://www.w3.org/2000/svg"><metadata><page name=")" + name + R"(" action="Page.)" +
         name + R"(" order=")" + std::to_string(order) + R"(" title="T">)" + transitions +
         "</page></metadata>" + content + "</svg>";
}

}  // namespace unit
