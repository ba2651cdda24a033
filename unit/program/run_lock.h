// Keeps two units from running the same service in one runtime directory.
#pragma once

#include <string>

namespace unit {

// The lock is held while the object lives. The kernel releases it when the process ends, also where it is
// killed.
class RunLock {
 public:
  // Throws std::runtime_error naming the process that holds the lock of `service`.
  explicit RunLock(const std::string& service);
  ~RunLock();
  RunLock(RunLock&& other) noexcept;
  RunLock& operator=(RunLock&&) = delete;

 private:
  bool TryLock(const std::string& service);
  [[noreturn]] void Refuse(const std::string& service);

  std::string file_;
  int descriptor_ = -1;
};

}  // namespace unit
