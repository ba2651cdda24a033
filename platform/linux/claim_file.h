// A file that one living process holds: how names and shared objects know whether their owner is alive.
//
// The holder keeps a lock of its open file on the file's first byte. The kernel gives it back with the process,
// whatever way that ends, so that a claim can be neither stale nor mistaken for one of a process whose id has
// come into use again. A second lock, on the next byte, says that the file's text is complete.
#pragma once

#include <optional>
#include <string>

#include "platform/linux/descriptor.h"

namespace platform {

class ClaimFile {
 public:
  // Claims `path` and writes `text` into it. Empty with errno: EEXIST when a living process holds it. What a
  // dead holder left is taken over.
  static std::optional<ClaimFile> Take(const std::string& path, const std::string& text);
  // The text of a claim whose holder lives; ENOENT otherwise.
  static std::optional<std::string> Read(const std::string& path);
  // Removes the file when nobody holds it; `clean` then runs before anybody else can claim it. Returns whether
  // it was removed.
  template <class Clean>
  static bool RemoveIfAbandoned(const std::string& path, Clean&& clean) {
    auto claim = TryLock(path, missing_t::LEAVE);
    if (!claim) return false;
    clean();
    claim->Release();
    return true;
  }

  // Removes the file and gives the claim up.
  void Release();
  const std::string& Path() const { return path_; }

 private:
  enum class missing_t { CREATE, LEAVE };
  static std::optional<ClaimFile> TryLock(const std::string& path, missing_t missing);
  static std::optional<ClaimFile> Complete(ClaimFile claim, const std::string& text);
  ClaimFile(Descriptor file, std::string path) : file_(std::move(file)), path_(std::move(path)) {}

  Descriptor file_;
  std::string path_;
};

}  // namespace platform
