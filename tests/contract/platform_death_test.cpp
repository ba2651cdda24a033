// The death of either end, at every moment of a message.
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <memory>
#include <vector>

#include "platform_server.h"

namespace contract {
namespace {

class ServerDeath : public ServedTest {};

TEST_F(ServerDeath, BeforeItReceivesFailsTheSender) {
  server_.SignalWith(SIGSTOP);
  std::atomic<long> result = 0;
  std::atomic<int> error = 0;
  std::thread sender([&] {
    result = Ask(ask_t::kEcho);
    error = errno;
  });
  std::this_thread::sleep_for(20ms);  // lets it block; what is expected holds whether it does or not
  server_.Kill();
  sender.join();
  EXPECT_EQ(result, -1);
  EXPECT_EQ(error, ESRCH);
}

TEST_F(ServerDeath, BeforeItRepliesFailsEverySender) {
  constexpr int kSenders = 8;
  std::atomic<int> failed = 0;
  std::vector<std::thread> senders;
  senders.reserve(kSenders);
  for (int i = 0; i < kSenders; ++i) {
    senders.emplace_back([&] {
      if (Ask(ask_t::kHold) == -1 && errno == ESRCH) ++failed;
    });
  }
  for (int i = 0; i < kSenders; ++i) ASSERT_TRUE(held_.Await());
  server_.Kill();
  for (auto& sender : senders) sender.join();
  EXPECT_EQ(failed, kSenders);
}

TEST_F(ServerDeath, FailsLaterSendsAndPulsesOfEveryThread) {
  EXPECT_EQ(Ask(ask_t::kEcho), 1);
  server_.Kill();
  const auto fails = [this] {
    EXPECT_EQ(Ask(ask_t::kEcho), -1);
    EXPECT_EQ(errno, ESRCH);
    EXPECT_EQ(MsgSendPulse(coid_, 10, 1, 1), -1);
    EXPECT_EQ(errno, ESRCH);
  };
  fails();
  std::thread(fails).join();
}

TEST_F(ServerDeath, WhileASenderWaitsForRoomFailsIt) {
  server_.SignalWith(SIGSTOP);
  while (MsgSendPulse(coid_, 10, 1, 0) == 0) continue;
  ASSERT_EQ(errno, EAGAIN);
  std::thread killer([this] { server_.Kill(); });
  EXPECT_EQ(Ask(ask_t::kEcho), -1);
  EXPECT_EQ(errno, ESRCH);
  killer.join();
}

TEST_F(ServerDeath, InAnyMomentFailsOrAnswersAndNeverHangs) {
  name_close(coid_);
  server_.Kill();
  for (int round = 0; round < 60; ++round) {
    const Signal ready;
    Child server([&] { return Server().Run(ready, held_); });
    ASSERT_TRUE(ready.Await());
    const int coid = name_open(SERVER_NAME, 0);
    ASSERT_GE(coid, 0);
    std::atomic<int> wrong = 0;
    std::vector<std::thread> senders;
    senders.reserve(4);
    for (int i = 0; i < 4; ++i) {
      senders.emplace_back([&, i] {
        std::vector<char> bytes(20 + static_cast<std::size_t>(i) * 30000, 'E');
        std::vector<char> reply(bytes.size());
        long status = 0;
        while ((status = MsgSend(coid, bytes.data(), bytes.size(), reply.data(), reply.size())) >= 0) {
          if (reply != bytes) ++wrong;
        }
        if (errno != ESRCH) ++wrong;
      });
    }
    std::this_thread::sleep_for(std::chrono::microseconds(137 * round));
    server.Kill();
    for (auto& sender : senders) sender.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(name_close(coid), 0);
  }
}

// The test is the server here and its clients are killed.
class ClientDeath : public PlatformTest {
 protected:
  ClientDeath() : attach_(name_attach(nullptr, SERVER_NAME, 0)) {}
  ~ClientDeath() override {
    if (attach_ != nullptr) name_detach(attach_, 0);
  }

  // A client process that sends one message and waits for its reply.
  std::unique_ptr<Child> StartClient(const Signal& about) const {
    return std::make_unique<Child>([&about] {
      const int coid = name_open(SERVER_NAME, 0);
      if (coid < 0 || MsgSendPulse(coid, 10, 4, getpid()) != 0) return 1;
      about.Raise();
      return MsgSend(coid, "question", 8, nullptr, 0) == 5 ? 0 : 2;
    });
  }

  struct got_t {
    int rcvid = -1;
    _pulse pulse{};
    _msg_info info{};
  };
  got_t Receive() const {
    got_t got;
    std::array<char, sizeof(_pulse)> buffer{};
    got.rcvid = MsgReceive(attach_->chid, buffer.data(), buffer.size(), &got.info);
    if (got.rcvid == 0) std::memcpy(&got.pulse, buffer.data(), sizeof got.pulse);
    return got;
  }

  name_attach_t* const attach_;
};

TEST_F(ClientDeath, AfterItsMessageWasReceivedIsToldByReplyAndPulse) {
  const Signal about;
  const auto client = StartClient(about);
  EXPECT_EQ(Receive().pulse.code, 4);
  const got_t message = Receive();
  ASSERT_GT(message.rcvid, 0);
  EXPECT_EQ(message.info.pid, client->Pid());
  client->Kill();
  const got_t gone = Receive();
  EXPECT_EQ(gone.pulse.code, _PULSE_CODE_DISCONNECT);
  EXPECT_EQ(gone.pulse.scoid, message.info.scoid);
  EXPECT_EQ(MsgReply(message.rcvid, 5, nullptr, 0), -1);
  EXPECT_EQ(errno, ESRCH);
}

TEST_F(ClientDeath, BeforeItsMessageWasReceivedLeavesNothingBehind) {
  const Signal about;
  const auto client = StartClient(about);
  ASSERT_TRUE(about.Await());
  client->Kill();
  // What it had sent may still come; the pulse that tells of its end is the last.
  int scoid = 0;
  for (got_t got; (got = Receive()).rcvid != 0 || got.pulse.code != _PULSE_CODE_DISCONNECT;) {
    ASSERT_GE(got.rcvid, 0);
    scoid = got.rcvid > 0 ? got.info.scoid : got.pulse.scoid;
    if (got.rcvid > 0) {
      EXPECT_EQ(MsgReply(got.rcvid, 5, nullptr, 0), -1);
    }
  }
  EXPECT_NE(scoid, 0);
}

TEST_F(ClientDeath, OfManyDoesNotStopTheServiceOfOthers) {
  for (int round = 0; round < 40; ++round) {
    const Signal about;
    const auto victim = StartClient(about);
    const auto other = StartClient(about);
    ASSERT_TRUE(about.Await());
    if (round % 2 == 0) std::this_thread::sleep_for(std::chrono::microseconds(50 * round));
    victim->Kill();
    int survivor = 0;
    for (got_t got; got.pulse.code != _PULSE_CODE_DISCONNECT || got.pulse.scoid != survivor;) {
      got = Receive();
      ASSERT_GE(got.rcvid, 0);
      if (got.rcvid > 0) MsgReply(got.rcvid, 5, nullptr, 0);
      if (got.pulse.code == 4 && got.pulse.value.sival_int == other->Pid()) survivor = got.pulse.scoid;
    }
    EXPECT_EQ(other->Result(), 0);
  }
}

}  // namespace
}  // namespace contract
