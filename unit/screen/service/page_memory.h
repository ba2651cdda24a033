// The page shown, kept in the runtime directory, so that a service that is started again comes back with the
// page that the application and the operator are on.
#pragma once

#include <string>

#include "base/descriptor.h"

namespace unit {

// For one thread.
class PageMemory {
 public:
  PageMemory();

  // The page that a service showed last; empty when there was none.
  const std::string& Remembered() const { return remembered_; }
  // Writes the page when it is another one: one call into the page cache, which waits for no disk. A file that
  // cannot be written costs the page after a kill, nothing else.
  void Write(const std::string& page);
  // Removes the file: the next service begins with the first page.
  void Forget();

 private:
  const std::string path_;
  const base::Descriptor file_;
  std::string remembered_;
};

}  // namespace unit
