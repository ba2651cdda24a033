// How much of the machine's processor time nobody uses.
#pragma once

#include <cstdint>

namespace check {

// For one thread.
class FreeCores {
 public:
  // The idle share of all cores since the last call, 0 to 1; 1 at the first call and where the system does not
  // say.
  double Share();

 private:
  std::uint64_t idle_ = 0;
  std::uint64_t total_ = 0;
};

}  // namespace check
