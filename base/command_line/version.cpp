#include "base/command_line/version.h"

#include "commit.h"

namespace base {

std::string DescribeVersion(const std::string& program) {
  return program + " " ORVIK_VERSION " (commit " ORVIK_COMMIT ", " ORVIK_BUILD ")";
}

}  // namespace base
