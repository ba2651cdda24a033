// What the fuzz targets share: the function that each of them defines, and helpers to take an input apart.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

namespace fuzz {

using bytes_t = std::span<const std::uint8_t>;

// Runs the code under test on one input. Returns if everything holds that the target checks.
void RunInput(bytes_t input);

// The line of the target whose rule was broken; 0: none. The short form prints it.
inline int brokenLine = 0;

// Aborts, so that the fuzzer keeps the input, unless the rule holds.
inline void Require(bool holds, int line = __builtin_LINE()) {
  if (holds) return;
  brokenLine = line;
  std::abort();
}

inline std::string TextOf(bytes_t input) {
  return {input.begin(), input.end()};
}

// Takes parts from the front of an input. At the input's end numbers are 0 and parts are empty.
class InputReader {
 public:
  explicit InputReader(bytes_t input) : rest_(input) {}
  bool IsAtEnd() const { return rest_.empty(); }
  bytes_t Take(std::size_t size) {
    const bytes_t part = rest_.first(std::min(size, rest_.size()));
    rest_ = rest_.subspan(part.size());
    return part;
  }
  unsigned TakeByte() { return rest_.empty() ? 0U : Take(1)[0]; }
  unsigned TakeWord() { return TakeByte() | TakeByte() << 8U; }

 private:
  bytes_t rest_;
};

// A file in memory, for code that reads files by path. It lives until the process ends.
class MemoryFile {
 public:
  const std::string& Path() const { return path_; }
  void Write(const std::string& content) const {
    const auto size = static_cast<ssize_t>(content.size());
    Require(ftruncate(descriptor_, 0) == 0 && pwrite(descriptor_, content.data(), content.size(), 0) == size);
  }

 private:
  int descriptor_ = memfd_create("fuzz", MFD_CLOEXEC);
  std::string path_ = "/proc/self/fd/" + std::to_string(descriptor_);
};

}  // namespace fuzz
