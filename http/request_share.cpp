#include "http/request_share.h"

#include <httplib.h>

namespace http {

std::shared_ptr<void> RequestShare::Enter(response_t& response) {
  // The deleter runs for a refused request too.
  std::shared_ptr<void> place(this, [this](void*) { --taken_; });
  if (++taken_ <= most_) return place;
  Fail(response, UNAVAILABLE,
       std::to_string(most_) + " requests wait for " + service_ + " already; try again in a second");
  return nullptr;
}

}  // namespace http
