// The two ways in which hx7 fails, by the exit status that each leads to.
#pragma once

#include <stdexcept>

namespace host {

// Called wrongly: status 2. The text says what is wrong and what would be right.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// It failed: status 1.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace host
