// A small file that has the newest of its texts, written by a thread of its own, so that no caller waits for a
// disk.
#pragma once

#include <chrono>
#include <memory>
#include <string>

namespace base {

// Any thread.
class KeptFile {
 public:
  static constexpr std::chrono::milliseconds STOP_WAIT{500};

  explicit KeptFile(std::string path);
  // Waits STOP_WAIT at most until the last call is carried out. A thread that is stuck in a write is left
  // behind.
  ~KeptFile();
  KeptFile(const KeptFile&) = delete;
  KeptFile& operator=(const KeptFile&) = delete;

  // Replaces the file's text. Does not block: the file has it some microseconds later, or when its disk answers
  // again. Of several texts that wait, only the last is written. A failure is not reported.
  void Write(std::string text);
  // Removes the file, in the same way.
  void Remove();

 private:
  class Change;
  const std::shared_ptr<Change> change_;  // the thread has it too
};

}  // namespace base
