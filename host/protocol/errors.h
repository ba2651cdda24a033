// The two kinds of error that end hx7, each with its exit status.
#pragma once

#include <stdexcept>

namespace host {

// The command line, a scenario or a request is wrong: exit status 2. The text says what is wrong and what would
// be right.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The call was right but could not be carried out: exit status 1.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace host
