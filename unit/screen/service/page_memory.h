// The page shown, kept in the runtime directory, so that a service that is started again comes back with the
// page that the application and the operator are on.
#pragma once

#include <string>

#include "base/kept_file.h"

namespace unit {

// For one thread.
class PageMemory {
 public:
  PageMemory();

  // The page that a service showed last; empty when there was none.
  const std::string& Remembered() const { return remembered_; }
  // Keeps the page when it is another one. Does not block. A file that cannot be written costs the page after a
  // kill, nothing else.
  void Write(const std::string& page);
  // Removes the file: the next service begins with the first page.
  void Forget();

 private:
  explicit PageMemory(const std::string& path);

  base::KeptFile file_;
  std::string remembered_;
};

}  // namespace unit
