// That each service runs once in a runtime directory.
#pragma once

#include <string>

namespace unit {

// Held as long as the object lives; the system releases it with the process, however that ends.
class RunLock {
 public:
  // Throws std::runtime_error naming the process that holds the lock of `service`.
  explicit RunLock(const std::string& service);
  ~RunLock();
  RunLock(RunLock&& other) noexcept;
  RunLock& operator=(RunLock&&) = delete;

 private:
  bool TryLock(const std::string& service);

  std::string file_;
  int descriptor_ = -1;
};

}  // namespace unit
