// The page shown, kept in the runtime directory while the service runs, so that a service that was killed comes
// back with the page that the application and the operator are on. An orderly stop removes it.
#pragma once

#include <string>

#include "base/descriptor.h"

namespace unit {

// For one thread.
class PageMemory {
 public:
  PageMemory();
  ~PageMemory();
  PageMemory(const PageMemory&) = delete;
  PageMemory& operator=(const PageMemory&) = delete;

  // The page that a service showed when it was killed; empty when there was none.
  const std::string& Remembered() const { return remembered_; }
  // Writes the page when it is another one: one call into the page cache, which waits for no disk. A file that
  // cannot be written costs the page after a kill, nothing else.
  void Write(const std::string& page);

 private:
  const std::string path_;
  const base::Descriptor file_;
  std::string remembered_;
};

}  // namespace unit
