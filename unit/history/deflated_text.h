// A text in memory, compressed with zlib.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace unit {

class DeflatedText {
 public:
  // Throws std::bad_alloc when there is no memory for it.
  explicit DeflatedText(std::string_view text);
  std::string Inflate() const;
  std::size_t Size() const { return bytes_.size(); }

 private:
  std::string bytes_;
  std::size_t textSize_;
};

}  // namespace unit
