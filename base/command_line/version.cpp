#include "base/command_line/version.h"

namespace base {

std::string DescribeVersion(const std::string& program) {
  return program + " " ORVIK_VERSION " (commit " + COMMIT + ", " ORVIK_BUILD ")";
}

}  // namespace base
