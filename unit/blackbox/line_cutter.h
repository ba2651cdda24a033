// Splits a stream of bytes into lines.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace unit {

// Cuts a line of more than LONGEST bytes into several, so that the buffer stays bounded.
class LineCutter {
 public:
  static constexpr std::size_t LONGEST = 2000;
  void Feed(std::string_view bytes);
  // The next whole line, without its end; false when there is none yet.
  bool Next(std::string& line);
  // The bytes after the last line end, for the end of the stream.
  std::string Rest();

 private:
  std::string buffer_;
};

}  // namespace unit
