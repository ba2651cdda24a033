#include "host/log_forms/new_file.h"

#include <filesystem>
#include <system_error>

#include <unistd.h>

#include "host/protocol/errors.h"

namespace host {

NewFile::NewFile(const std::string& name) : name_(name), part_(name + ".part") {
  file_.open(part_, std::ios::binary);
  if (!file_) throw Failure("cannot write " + name_ + "; is the folder there, and writable?");
}

NewFile::~NewFile() {
  if (!part_.empty()) ::unlink(part_.c_str());
}

void NewFile::Keep() {
  file_.close();
  std::error_code error;
  if (file_) std::filesystem::rename(part_, name_, error);
  if (!file_ || error) throw Failure("cannot write " + name_ + "; is the disk full?");
  part_.clear();
}

}  // namespace host
