// A small server for the tests: it answers messages as their first byte asks.
#pragma once

#include <cerrno>
#include <cstdint>
#include <vector>

#include "platform_processes.h"

namespace contract {

constexpr const char* SERVER_NAME = "Contract";
constexpr std::size_t LARGEST_MESSAGE = (1U << 20U) + (1U << 10U);

enum class ask_t : std::uint8_t {
  kEcho = 'E',   // the same bytes come back, their number is the status
  kHold = 'H',   // no answer, ever
  kError = 'R',  // the answer is the error EDOM
};

class Server {
 public:
  // Serves for ever. Raises `ready` once it can be found, `held` for each message that it holds.
  int Run(const Signal& ready, const Signal& held) {
    name_attach_t* const attach = name_attach(nullptr, SERVER_NAME, 0);
    if (attach == nullptr) return 1;
    ready.Raise();
    _msg_info info{};
    for (int rcvid = 0; (rcvid = MsgReceive(attach->chid, buffer_.data(), buffer_.size(), &info)) >= 0;) {
      if (rcvid > 0) Answer(rcvid, static_cast<std::size_t>(info.msglen), held);
    }
    return 2;
  }

 private:
  void Answer(int rcvid, std::size_t bytes, const Signal& held) const {
    switch (bytes > 0 ? static_cast<ask_t>(buffer_[0]) : ask_t::kEcho) {
      case ask_t::kHold:
        held.Raise();
        break;
      case ask_t::kError:
        MsgError(rcvid, EDOM);
        break;
      default:
        MsgReply(rcvid, static_cast<long>(bytes), buffer_.data(), bytes);
    }
  }

  std::vector<std::uint8_t> buffer_ = std::vector<std::uint8_t>(LARGEST_MESSAGE);
};

// The server in a process of its own, and the test's connection to it.
class ServedTest : public PlatformTest {
 protected:
  ServedTest() : server_([this] { return Server().Run(ready_, held_); }) {
    EXPECT_TRUE(ready_.Await());
    coid_ = name_open(SERVER_NAME, 0);
    EXPECT_GE(coid_, 0);
  }
  ~ServedTest() override { name_close(coid_); }

  long Ask(ask_t what) const {
    const auto byte = static_cast<std::uint8_t>(what);
    return MsgSend(coid_, &byte, 1, nullptr, 0);
  }

  Signal ready_;
  Signal held_;
  Child server_;
  int coid_ = -1;
};

}  // namespace contract
