// Processes, a server, runtime directories and deadlines for the tests of the operating-system interfaces.
//
// A test forks its processes before it starts threads of its own, so that a child runs in the same state as a
// program of its own.
#pragma once

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/messages.h"
#include "platform/names.h"

#include "tests/support/test_folder.h"

namespace contract {

using namespace std::chrono_literals;
constexpr auto DEADLINE = 20s;
constexpr unsigned CHILD_LIFETIME_S = 110;  // no child outlives a test that failed

// Polls a condition. False after the deadline.
template <class Condition>
bool Eventually(Condition&& condition, std::chrono::milliseconds limit = DEADLINE) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(1ms);
  }
  return true;
}

// The error of a failed call; 0 when it did not fail.
inline int ErrorOf(long result) {
  return result == -1 ? errno : 0;
}

// `count` threads that run `body` with their number; the vector's end waits for them.
template <class Body>
std::vector<std::jthread> StartThreads(int count, const Body& body) {
  std::vector<std::jthread> threads;
  for (int i = 0; i < count; ++i) threads.emplace_back(body, i);
  return threads;
}

inline _pulse ReceivePulse(int chid) {
  _pulse pulse{};
  EXPECT_EQ(MsgReceive(chid, &pulse, sizeof pulse, nullptr), 0);
  return pulse;
}

// One byte from one process to another.
class Signal {
 public:
  Signal() { EXPECT_EQ(pipe(ends_.data()), 0); }
  ~Signal() {
    close(ends_[0]);
    close(ends_[1]);
  }
  Signal(const Signal&) = delete;
  Signal& operator=(const Signal&) = delete;

  void Raise() const { EXPECT_EQ(write(ends_[1], "!", 1), 1); }
  bool Await() const {
    pollfd end = {ends_[0], POLLIN, 0};
    char byte = 0;
    const int limit = static_cast<int>(std::chrono::milliseconds(DEADLINE).count());
    return poll(&end, 1, limit) == 1 && read(ends_[0], &byte, 1) == 1;
  }

 private:
  std::array<int, 2> ends_{};
};

// A process that runs `body` and ends with its result; killed when the test is done with it.
class Child {
 public:
  explicit Child(const std::function<int()>& body) : pid_(fork()) {
    if (pid_ != 0) return;
    alarm(CHILD_LIFETIME_S);
    _exit(body());
  }
  ~Child() { Kill(); }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  pid_t Pid() const { return pid_; }
  void SignalWith(int signal) const { kill(pid_, signal); }
  void Kill() {
    if (pid_ <= 0) return;
    kill(pid_, SIGKILL);
    waitpid(std::exchange(pid_, -1), nullptr, 0);
  }
  // Whether the body has ended; Result then tells how.
  bool HasEnded() {
    if (pid_ > 0 && waitpid(pid_, &status_, WNOHANG) == pid_) pid_ = -1;
    return pid_ < 0;
  }
  // The body's result, or -1 when it did not end by itself within the deadline.
  int Result() {
    return Eventually([&] { return HasEnded(); }) && WIFEXITED(status_) ? WEXITSTATUS(status_) : -1;
  }

 private:
  pid_t pid_;
  int status_ = SIGKILL;
};

inline std::size_t FilesIn(const std::string& directory) {
  const std::filesystem::directory_iterator begin(directory);
  return static_cast<std::size_t>(std::distance(begin, std::filesystem::directory_iterator{}));
}

// A runtime directory of its own for every test.
class PlatformTest : public testing::Test {
 protected:
  std::string Directory() const { return directory_.Path(); }
  std::size_t FilesInDirectory() const { return FilesIn(Directory()); }

 private:
  RuntimeDirectoryForTest directory_;
};

constexpr const char* SERVER_NAME = "Contract";
constexpr std::size_t LARGEST_MESSAGE = (1U << 20U) + (1U << 10U);

enum class ask_t : std::uint8_t {
  ECHO = 'E',   // the same bytes come back, their number is the status
  HOLD = 'H',   // no answer, ever
  ERROR = 'R',  // the answer is the error EDOM
};

// Answers each message as its first byte says.
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
    switch (bytes > 0 ? static_cast<ask_t>(buffer_[0]) : ask_t::ECHO) {
      case ask_t::HOLD:
        held.Raise();
        break;
      case ask_t::ERROR:
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
