// The death of the sender or the receiver before, during and after a message.
#include <array>
#include <atomic>
#include <cstring>
#include <memory>

#include "tests/contract/platform_processes.h"

namespace contract {
namespace {

class ServerDeathTest : public ServedTest {
 protected:
  static constexpr int SENDERS = 8;

  // Kills the server while all senders wait. Each sender gets ESRCH, and so does every later call.
  template <class Wait>
  void KillUnder(ask_t question, const Wait& untilTheyWait) {
    std::atomic<int> failed = 0;
    auto senders = StartThreads(SENDERS, [&](int) { failed += ErrorOf(Ask(question)) == ESRCH ? 1 : 0; });
    untilTheyWait();
    server_.Kill();
    senders.clear();
    EXPECT_EQ(failed, SENDERS);
    const auto fails = [this] {
      EXPECT_EQ(ErrorOf(Ask(ask_t::ECHO)), ESRCH);
      EXPECT_EQ(ErrorOf(MsgSendPulse(coid_, 10, 1, 1)), ESRCH);
    };
    fails();
    std::thread(fails).join();
  }
  // Gives the senders time to block. The expectations also hold for a sender that has not blocked yet.
  static void LetThemBlock() { std::this_thread::sleep_for(20ms); }
};

TEST_F(ServerDeathTest, BeforeItReceivesFailsTheSenders) {
  server_.SignalWith(SIGSTOP);
  KillUnder(ask_t::ECHO, LetThemBlock);
}

TEST_F(ServerDeathTest, BeforeItRepliesFailsTheSenders) {
  EXPECT_EQ(Ask(ask_t::ECHO), 1);
  KillUnder(ask_t::HOLD, [this] {
    for (int i = 0; i < SENDERS; ++i) EXPECT_TRUE(held_.Await());
  });
}

TEST_F(ServerDeathTest, WhileSendersWaitForRoomFailsThem) {
  server_.SignalWith(SIGSTOP);
  while (MsgSendPulse(coid_, 10, 1, 0) == 0) continue;
  ASSERT_EQ(errno, EAGAIN);
  KillUnder(ask_t::ECHO, LetThemBlock);
}

TEST_F(ServerDeathTest, InAnyMomentFailsOrAnswersAndNeverHangs) {
  server_.Kill();
  for (int round = 0; round < 60; ++round) {
    const Signal ready;
    Child server([&] { return Server().Run(ready, held_); });
    ASSERT_TRUE(ready.Await());
    const int coid = name_open(SERVER_NAME, 0);
    ASSERT_GE(coid, 0);
    std::atomic<int> wrong = 0;
    auto senders = StartThreads(4, [&](int i) {
      std::vector<char> bytes(20 + static_cast<std::size_t>(i) * 30000, 'E');
      std::vector<char> reply(bytes.size());
      while (MsgSend(coid, bytes.data(), bytes.size(), reply.data(), reply.size()) >= 0) {
        if (reply != bytes) ++wrong;
      }
      if (errno != ESRCH) ++wrong;
    });
    std::this_thread::sleep_for(std::chrono::microseconds(137 * round));
    server.Kill();
    senders.clear();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(ErrorOf(name_open(SERVER_NAME, 0)), ENOENT) << "the name is free at once";
    EXPECT_EQ(name_close(coid), 0);
  }
}

// The test is the server and kills its clients.
class ClientDeathTest : public PlatformTest {
 protected:
  ~ClientDeathTest() override { name_detach(attach_, 0); }

  // A client process that sends a pulse and a message, and waits for its reply.
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
    bool IsEndOf(int scoid) const { return pulse.code == _PULSE_CODE_DISCONNECT && pulse.scoid == scoid; }
  };
  got_t Receive() const {
    got_t got;
    std::array<char, sizeof(_pulse)> buffer{};
    got.rcvid = MsgReceive(attach_->chid, buffer.data(), buffer.size(), &got.info);
    if (got.rcvid == 0) std::memcpy(&got.pulse, buffer.data(), sizeof got.pulse);
    return got;
  }

  name_attach_t* const attach_ = name_attach(nullptr, SERVER_NAME, 0);
};

TEST_F(ClientDeathTest, AfterItsMessageWasReceivedIsToldByReplyAndPulse) {
  const Signal about;
  const auto client = StartClient(about);
  EXPECT_EQ(Receive().pulse.code, 4);
  const got_t message = Receive();
  ASSERT_GT(message.rcvid, 0);
  EXPECT_EQ(message.info.pid, client->Pid());
  client->Kill();
  EXPECT_TRUE(Receive().IsEndOf(message.info.scoid));
  EXPECT_EQ(ErrorOf(MsgReply(message.rcvid, 5, nullptr, 0)), ESRCH);
}

TEST_F(ClientDeathTest, BeforeItsMessageWasReceivedLeavesNothingBehind) {
  const Signal about;
  const auto client = StartClient(about);
  ASSERT_TRUE(about.Await());
  client->Kill();
  const int scoid = Receive().pulse.scoid;
  EXPECT_NE(scoid, 0);
  // The client's message may still arrive. The pulse that reports its end comes last.
  for (got_t got; !(got = Receive()).IsEndOf(scoid);) {
    ASSERT_GT(got.rcvid, 0);
    EXPECT_EQ(MsgReply(got.rcvid, 5, nullptr, 0), -1);
  }
}

TEST_F(ClientDeathTest, OfManyDoesNotStopTheServiceOfOthers) {
  for (int round = 0; round < 40; ++round) {
    const Signal about;
    const auto victim = StartClient(about);
    const auto other = StartClient(about);
    ASSERT_TRUE(about.Await());
    if (round % 2 == 0) std::this_thread::sleep_for(std::chrono::microseconds(50 * round));
    victim->Kill();
    int survivor = -1;
    for (got_t got; !got.IsEndOf(survivor);) {
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
