// The two ways in which hx7 fails, by the exit status that each leads to.
#pragma once

#include <stdexcept>

namespace host {

// Called wrongly: status 2. The text says what is wrong and what would be right.
struct usage_error : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// It failed: status 1.
struct failure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace host
