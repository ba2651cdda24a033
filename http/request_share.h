// A bound on the threads that wait for one other service at the same time.
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <string>

#include "http/local_server.h"

namespace http {

// Any thread.
class RequestShare {
 public:
  // `service` names the other service in the answer.
  RequestShare(std::size_t most, std::string service) : most_(most), service_(std::move(service)) {}

  // A place until its holder is destroyed. Null with 503 in `response` when all places are taken.
  std::shared_ptr<void> Enter(response_t& response);

 private:
  const std::size_t most_;
  const std::string service_;
  std::atomic<std::size_t> taken_{0};
};

}  // namespace http
