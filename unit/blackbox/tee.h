// Copies the lines that this process prints on a stream into the black box.
#pragma once

#include <memory>
#include <ostream>
#include <string>

#include "unit/blackbox/rolling_log.h"

namespace unit {

// The object must live while any thread prints: made before the other threads start, destroyed after they have
// ended.
class Tee {
 public:
  // Writes the lines to `log` under `name`; the stream prints as before.
  Tee(std::ostream& stream, std::string name, RollingLog& log);
  ~Tee();
  Tee(const Tee&) = delete;
  Tee& operator=(const Tee&) = delete;

 private:
  class Buffer;

  std::ostream& stream_;
  std::unique_ptr<Buffer> buffer_;
};

}  // namespace unit
