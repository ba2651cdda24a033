// A file that one process holds: shows whether the owner of a name or of a shared object is alive.
//
// The holder locks the first byte of the file (a lock of the open file description). The kernel releases the
// lock when the process ends in any way, so a claim is never stale, even when another process gets the same
// process id. A second lock, on the next byte, shows that the file's text is complete.
#pragma once

#include <optional>
#include <string>

#include "platform/linux/unshared_descriptor.h"

namespace platform {

class ClaimFile {
 public:
  // Claims `path` and writes `text` into it. Empty with errno: EEXIST when a living process holds the claim.
  // The file of a dead holder is taken over.
  static std::optional<ClaimFile> Take(const std::string& path, const std::string& text);
  // Returns the text of a claim whose holder lives; otherwise empty with ENOENT.
  static std::optional<std::string> Read(const std::string& path);
  // Removes the file when no process holds it, and calls `clean` before another process can claim it. Returns
  // whether the file was removed.
  template <class Clean>
  static bool RemoveIfAbandoned(const std::string& path, Clean&& clean) {
    auto claim = TryLock(path, missing_t::LEAVE);
    if (!claim) return false;
    clean();
    claim->Release();
    return true;
  }

  // Removes the file and releases the claim.
  void Release();
  const std::string& Path() const { return path_; }

 private:
  enum class missing_t { CREATE, LEAVE };
  static std::optional<ClaimFile> TryLock(const std::string& path, missing_t missing);
  static std::optional<ClaimFile> Complete(ClaimFile claim, const std::string& text);
  ClaimFile(UnsharedDescriptor file, std::string path) : file_(std::move(file)), path_(std::move(path)) {}

  UnsharedDescriptor file_;
  std::string path_;
};

}  // namespace platform
