// Has what this process prints on a stream stand in the black box too.
#pragma once

#include <memory>
#include <ostream>
#include <string>

#include "unit/blackbox/rolling_log.h"

namespace unit {

// Lives as long as the stream is written to; made before the other threads and destroyed after them.
class Tee {
 public:
  // Lines go to `log` under `name`. The stream prints as before.
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
