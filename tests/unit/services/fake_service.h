// A service at the other end of the real message path, which keeps what it was sent and answers as told.
#pragma once

#include <cerrno>
#include <condition_variable>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <functional>
#include <mutex>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "platform/messages.h"
#include "platform/names.h"

using bytes_t = std::vector<std::uint8_t>;

// A runtime directory of the test's own, removed at its end.
class RuntimeDirectoryForTest {
 public:
  RuntimeDirectoryForTest() {
    std::string pattern = (std::filesystem::temp_directory_path() / "orvik-test-XXXXXX").string();
    path_ = mkdtemp(pattern.data());
    setenv("ORVIK_RUNTIME_DIR", path_.c_str(), 1);
  }
  ~RuntimeDirectoryForTest() { std::filesystem::remove_all(path_); }
  RuntimeDirectoryForTest(const RuntimeDirectoryForTest&) = delete;
  RuntimeDirectoryForTest& operator=(const RuntimeDirectoryForTest&) = delete;

 private:
  std::string path_;
};

class FakeService {
 public:
  using answer_t = std::function<bytes_t(const bytes_t& request)>;

  FakeService(const char* name, answer_t answer) : answer_(std::move(answer)) {
    attach_ = name_attach(nullptr, name, 0);
    if (attach_ == nullptr) throw std::runtime_error("cannot take the name of the service");
    thread_ = std::thread([this] { Serve(); });
  }
  ~FakeService() {
    const int coid = ConnectAttach(0, 0, attach_->chid, _NTO_SIDE_CHANNEL, 0);
    MsgSendPulse(coid, getprio(0), 1, 0);
    thread_.join();
    ConnectDetach(coid);
    name_detach(attach_, 0);
  }
  FakeService(const FakeService&) = delete;
  FakeService& operator=(const FakeService&) = delete;

  // The requests so far; the service forgets them.
  std::vector<bytes_t> TakeRequests() {
    const std::lock_guard lock(mutex_);
    return std::exchange(requests_, {});
  }

 private:
  void Serve() {
    bytes_t buffer(2U << 20U);
    for (;;) {
      _msg_info info{};
      const int rcvid = MsgReceive(attach_->chid, buffer.data(), buffer.size(), &info);
      if (rcvid <= 0) return;
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
  std::thread thread_;
};

// Little-endian words, one after another.
inline bytes_t Words(std::initializer_list<std::int64_t> words) {
  bytes_t bytes;
  for (const std::int64_t word : words) {
    for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<std::uint8_t>(word >> shift));
  }
  return bytes;
}

inline bytes_t operator+(bytes_t left, const bytes_t& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

inline bytes_t Characters(std::string_view text) {
  return {text.begin(), text.end()};
}
