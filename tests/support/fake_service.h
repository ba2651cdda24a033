// A service on the real message path, which keeps its requests and answers by a function.
#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "platform/messages.h"
#include "platform/names.h"

#include "tests/support/bytes.h"
#include "tests/support/test_folder.h"

class FakeService {
 public:
  using answer_t = std::function<bytes_t(const bytes_t& request)>;

  FakeService(const char* name, answer_t answer) : answer_(std::move(answer)) {
    attach_ = name_attach(nullptr, name, 0);
    if (attach_ == nullptr) throw std::runtime_error("cannot take the name of the service");
    thread_ = std::jthread([this, chid = attach_->chid] { Serve(chid); });
  }
  ~FakeService() { name_detach(attach_, 0); }
  FakeService(const FakeService&) = delete;
  FakeService& operator=(const FakeService&) = delete;

  // The requests so far; the service forgets them.
  std::vector<bytes_t> DrainRequests() {
    const std::lock_guard lock(mutex_);
    return std::exchange(requests_, {});
  }

 private:
  void Serve(int chid) {
    bytes_t buffer(2U << 20U);
    _msg_info info{};
    for (int rcvid = 0; (rcvid = MsgReceive(chid, buffer.data(), buffer.size(), &info)) >= 0;) {
      if (rcvid == 0) continue;  // the pulse of a client that has left
      const bytes_t request(buffer.begin(), buffer.begin() + info.msglen);
      {
        const std::lock_guard lock(mutex_);
        requests_.push_back(request);
      }
      const bytes_t reply = answer_(request);
      MsgReply(rcvid, 0, reply.data(), reply.size());
    }
  }

  answer_t answer_;
  name_attach_t* attach_ = nullptr;
  std::mutex mutex_;
  std::vector<bytes_t> requests_;
  std::jthread thread_;
};
