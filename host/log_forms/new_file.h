// A file that has its name only when it is whole.
#pragma once

#include <fstream>
#include <ostream>
#include <string>

namespace host {

class NewFile {
 public:
  // Writes to "NAME.part" until Keep. Throws Failure when it cannot be written.
  explicit NewFile(const std::string& name);
  ~NewFile();  // removes what was not kept
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  std::ostream& Out() { return file_; }
  // Throws Failure when the disk is full.
  void Keep();

 private:
  const std::string name_;
  std::string part_;  // empty: the file has its name
  std::ofstream file_;
};

}  // namespace host
