// Tells whether a log or a display is still the one that it was: a 64-bit FNV-1a sum, no protection against
// somebody who wants to deceive.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace host::log_check {

class Digest {
 public:
  void Add(std::string_view bytes);
  // The file's content. Throws UsageError when it cannot be read.
  void AddFile(const std::string& file);
  // Sixteen hexadecimal digits.
  std::string Text() const;

 private:
  std::uint64_t sum_ = 0xCBF29CE484222325;
};

}  // namespace host::log_check
