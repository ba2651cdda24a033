// Detects that a file of the screen design was written.
#pragma once

#include <filesystem>

namespace unit {

// For one thread.
class DesignWatch {
 public:
  explicit DesignWatch(const std::filesystem::path& folder);
  ~DesignWatch();
  DesignWatch(const DesignWatch&) = delete;
  DesignWatch& operator=(const DesignWatch&) = delete;

  // Whether a file was written or moved into the folder since the last call. Does not block. Always false where
  // the system cannot watch the folder.
  bool Changed();

 private:
  int descriptor_;
};

}  // namespace unit
