#include "unit/blackbox/line_cutter.h"

#include <utility>

namespace unit {

void LineCutter::Feed(std::string_view bytes) {
  buffer_ += bytes;
}

bool LineCutter::Next(std::string& line) {
  const std::size_t end = buffer_.find('\n');
  if (end > LONGEST && buffer_.size() > LONGEST) {
    line = buffer_.substr(0, LONGEST) + " ...";
    buffer_.erase(0, LONGEST);
    return true;
  }
  if (end == std::string::npos) return false;
  line = buffer_.substr(0, end);
  buffer_.erase(0, end + 1);
  return true;
}

std::string LineCutter::Rest() {
  return std::exchange(buffer_, {});
}

}  // namespace unit
