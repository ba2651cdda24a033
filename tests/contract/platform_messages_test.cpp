// Messages: blocking, sizes, order, several threads, and the reply to each its own.
#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <vector>

#include "platform_server.h"

namespace contract {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes MakeMessage(std::size_t size, unsigned seed) {
  Bytes bytes(size);
  for (std::size_t i = 0; i < size; ++i)
    bytes[i] = static_cast<std::uint8_t>(i * 31 + seed * std::size_t{7} + (i >> 8U));
  if (size > 0) bytes[0] = static_cast<std::uint8_t>(ask_t::kEcho);
  return bytes;
}

class Messages : public ServedTest {};

TEST_F(Messages, ComeBackWholeWithTheirStatusInEverySize) {
  for (const std::size_t size : {0UL, 1UL, 8UL, 20UL, 1824UL, 10240UL, 65535UL, 65536UL, 65537UL, 300000UL,
                                 1UL << 20U, LARGEST_MESSAGE}) {
    const Bytes sent = MakeMessage(size, 1);
    Bytes got(size + 16, 0xEE);
    ASSERT_EQ(MsgSend(coid_, sent.data(), sent.size(), got.data(), got.size()), static_cast<long>(size));
    EXPECT_TRUE(std::equal(sent.begin(), sent.end(), got.begin())) << size;
    EXPECT_EQ(got[size], 0xEE) << "wrote past the reply's end at " << size;
  }
}

TEST_F(Messages, AboveTheLimitAreRefusedAndHarmNothing) {
  const Bytes tooLong(LARGEST_MESSAGE + 1);
  EXPECT_EQ(MsgSend(coid_, tooLong.data(), tooLong.size(), nullptr, 0), -1);
  EXPECT_EQ(errno, EMSGSIZE);
  EXPECT_EQ(Ask(ask_t::kEcho), 1);
}

TEST_F(Messages, ReplyIsCutToTheRoomOfTheSender) {
  for (const std::size_t size : {100UL, 200000UL}) {
    const Bytes sent = MakeMessage(size, 2);
    Bytes got(size, 0xEE);
    EXPECT_EQ(MsgSend(coid_, sent.data(), size, got.data(), 10), static_cast<long>(size));
    EXPECT_TRUE(std::equal(got.begin(), got.begin() + 10, sent.begin()));
    EXPECT_EQ(got[10], 0xEE);
  }
}

TEST_F(Messages, CanBeAnsweredWithAnError) {
  EXPECT_EQ(Ask(ask_t::kError), -1);
  EXPECT_EQ(errno, EDOM);
  EXPECT_EQ(Ask(ask_t::kEcho), 1);
}

TEST_F(Messages, OfManyThreadsOnOneConnectionGetEachItsOwnReply) {
  constexpr unsigned kThreads = 8;
  constexpr unsigned kRounds = 300;
  std::atomic<unsigned> right = 0;
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (unsigned id = 0; id < kThreads; ++id) {
    threads.emplace_back([&, id] {
      for (unsigned round = 0; round < kRounds; ++round) {
        const Bytes sent = MakeMessage(8 + (round * 37 + id * 1201) % 10232, id * kRounds + round);
        Bytes got(sent.size());
        const long status = MsgSend(coid_, sent.data(), sent.size(), got.data(), got.size());
        if (status == static_cast<long>(sent.size()) && got == sent) ++right;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(right, kThreads * kRounds);
}

TEST_F(Messages, OnAConnectionThatIsNoneAreRefused) {
  const int closed = name_open(SERVER_NAME, 0);
  ASSERT_EQ(name_close(closed), 0);
  for (const int coid : {-1, closed, 123456}) {
    EXPECT_EQ(MsgSend(coid, "E", 1, nullptr, 0), -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(MsgSendPulse(coid, 10, 0, 0), -1);
    EXPECT_EQ(errno, EBADF);
  }
}

TEST_F(Messages, WaitingForAReplyEndsWhenAnotherThreadClosesTheConnection) {
  std::atomic<long> result = 0;
  std::thread waiting([&] { result = Ask(ask_t::kHold); });
  ASSERT_TRUE(held_.Await());
  EXPECT_EQ(name_close(coid_), 0);
  waiting.join();
  EXPECT_EQ(result, -1);
  coid_ = name_open(SERVER_NAME, 0);
  EXPECT_EQ(Ask(ask_t::kEcho), 1);
}

// Receiver and sender in one process, each test with the channel in its own hand.
class Channels : public PlatformTest {
 protected:
  Channels() : chid_(ChannelCreate(_NTO_CHF_DISCONNECT)), coid_(ConnectAttach(0, 0, chid_, 0, 0)) {}
  ~Channels() override {
    ConnectDetach(coid_);
    ChannelDestroy(chid_);
  }
  const int chid_;
  const int coid_;
};

TEST_F(Channels, CutLongMessagesAndTellWhoSentThem) {
  for (const std::size_t size : {500UL, 200000UL}) {
    const Bytes sent = MakeMessage(size, 3);
    std::thread sender([&] { EXPECT_EQ(MsgSend(coid_, sent.data(), size, nullptr, 77), 42); });
    Bytes got(101, 0xEE);
    _msg_info info{};
    const int rcvid = MsgReceive(chid_, got.data(), 100, &info);
    ASSERT_GT(rcvid, 0);
    EXPECT_TRUE(std::equal(got.begin(), got.begin() + 100, sent.begin()));
    EXPECT_EQ(got[100], 0xEE);
    EXPECT_EQ(info.msglen, 100);
    EXPECT_EQ(info.srcmsglen, static_cast<std::int32_t>(size));
    EXPECT_EQ(info.dstmsglen, 77);
    EXPECT_EQ(info.pid, getpid());
    EXPECT_EQ(info.chid, chid_);
    EXPECT_EQ(info.coid, coid_);
    EXPECT_EQ(MsgReply(rcvid, 42, nullptr, 0), 0);
    sender.join();
  }
}

TEST_F(Channels, AnswerEachMessageOnce) {
  std::thread sender([&] {
    EXPECT_EQ(MsgSend(coid_, "a", 1, nullptr, 0), 1);
    EXPECT_EQ(MsgSend(coid_, "b", 1, nullptr, 0), 2);
  });
  char byte = 0;
  const int first = MsgReceive(chid_, &byte, 1, nullptr);
  EXPECT_EQ(MsgReply(first, 1, nullptr, 0), 0);
  const int second = MsgReceive(chid_, &byte, 1, nullptr);
  for (const int stale : {first, 0, -5, 0x7FFFFFFF}) {
    EXPECT_EQ(MsgReply(stale, 99, nullptr, 0), -1);
    EXPECT_EQ(errno, ESRCH);
  }
  EXPECT_EQ(MsgReply(second, 2, nullptr, 0), 0);
  sender.join();
}

TEST_F(Channels, MayAnswerOutOfOrder) {
  std::array<std::thread, 3> senders;
  for (std::size_t i = 0; i < senders.size(); ++i) {
    senders[i] = std::thread(
        [&, i] { EXPECT_EQ(MsgSend(coid_, &i, sizeof i, nullptr, 0), 100 + static_cast<long>(i)); });
  }
  std::array<std::pair<int, std::size_t>, 3> waiting;
  for (auto& [rcvid, i] : waiting) rcvid = MsgReceive(chid_, &i, sizeof i, nullptr);
  std::reverse(waiting.begin(), waiting.end());
  for (const auto& [rcvid, i] : waiting) EXPECT_EQ(MsgReply(rcvid, 100 + static_cast<long>(i), nullptr, 0), 0);
  for (auto& sender : senders) sender.join();
}

TEST_F(Channels, MayHaveSeveralReceivers) {
  constexpr int kReceivers = 3;
  constexpr int kSenders = 4;
  constexpr long kRounds = 200;
  std::vector<std::thread> receivers;
  receivers.reserve(kReceivers);
  for (int i = 0; i < kReceivers; ++i) {
    receivers.emplace_back([&] {
      long value = 0;
      for (int rcvid = 0; (rcvid = MsgReceive(chid_, &value, sizeof value, nullptr)) >= 0;) {
        if (rcvid > 0) MsgReply(rcvid, value * 2, nullptr, 0);
      }
    });
  }
  std::vector<std::thread> senders;
  senders.reserve(kSenders);
  for (long id = 0; id < kSenders; ++id) {
    senders.emplace_back([&, id] {
      for (long round = 0; round < kRounds; ++round) {
        const long value = id * kRounds + round;
        EXPECT_EQ(MsgSend(coid_, &value, sizeof value, nullptr, 0), value * 2);
      }
    });
  }
  for (auto& sender : senders) sender.join();
  EXPECT_EQ(ChannelDestroy(chid_), 0);
  for (auto& receiver : receivers) receiver.join();
}

TEST_F(Channels, WhenDestroyedWakeReceiversAndSenders) {
  std::atomic<int> failed = 0;
  const auto receive = [&] {
    char byte = 0;
    while (MsgReceive(chid_, &byte, 1, nullptr) >= 0)
      continue;  // takes the messages and leaves them unanswered
    if (errno == ESRCH) ++failed;
  };
  const auto send = [&] {
    if (MsgSend(coid_, "x", 1, nullptr, 0) == -1 && errno == ESRCH) ++failed;
  };
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int i = 0; i < 2; ++i) threads.emplace_back(receive);
  for (int i = 0; i < 2; ++i) threads.emplace_back(send);
  std::this_thread::sleep_for(20ms);  // lets them block; what is expected holds whether they do or not
  EXPECT_EQ(ChannelDestroy(chid_), 0);
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(failed, 4);
  EXPECT_EQ(MsgSend(coid_, "x", 1, nullptr, 0), -1);
  EXPECT_EQ(errno, ESRCH);
  EXPECT_EQ(ConnectAttach(0, 0, chid_, 0, 0), -1);
  EXPECT_EQ(errno, ESRCH);
  EXPECT_EQ(ChannelDestroy(chid_), -1);
}

_pulse ReceivePulse(int chid) {
  _pulse pulse{};
  EXPECT_EQ(MsgReceive(chid, &pulse, sizeof pulse, nullptr), 0);
  return pulse;
}

TEST_F(Channels, DeliverPulsesInOrderUpToWhatTheyHold) {
  int sent = 0;
  while (sent < 1000000 && MsgSendPulse(coid_, getprio(0), 5, sent) == 0) ++sent;
  EXPECT_EQ(errno, EAGAIN);
  EXPECT_GE(sent, 200);
  for (int i = 0; i < sent; ++i) {
    const _pulse pulse = ReceivePulse(chid_);
    ASSERT_EQ(pulse.value.sival_int, i);
    ASSERT_EQ(pulse.code, 5);
  }
  EXPECT_EQ(MsgSendPulse(coid_, 10, 127, -1), 0) << "there is room again";
  EXPECT_EQ(ReceivePulse(chid_).value.sival_int, -1);
}

TEST_F(Channels, DeliverAMessageBehindThePulsesOfItsThread) {
  std::thread sender([&] {
    for (int i = 0; i < 50; ++i) EXPECT_EQ(MsgSendPulse(coid_, 10, 1, i), 0);
    EXPECT_EQ(MsgSend(coid_, "m", 1, nullptr, 0), 7);
  });
  for (int i = 0; i < 50; ++i) EXPECT_EQ(ReceivePulse(chid_).value.sival_int, i);
  char byte = 0;
  const int rcvid = MsgReceive(chid_, &byte, 1, nullptr);
  ASSERT_GT(rcvid, 0);
  EXPECT_EQ(MsgReply(rcvid, 7, nullptr, 0), 0);
  sender.join();
}

TEST_F(Channels, TellThatAConnectionWentWhenAllOfItWent) {
  const int other = ConnectAttach(0, 0, chid_, 0, 0);
  int scoid = 0;
  // Two threads use it and end; the connection is still there.
  for (int i = 0; i < 2; ++i) {
    std::thread([&] { EXPECT_EQ(MsgSendPulse(other, 10, 9, i), 0); }).join();
    const _pulse pulse = ReceivePulse(chid_);
    EXPECT_EQ(pulse.value.sival_int, i);
    EXPECT_TRUE(scoid == 0 || scoid == pulse.scoid);
    scoid = pulse.scoid;
  }
  EXPECT_EQ(MsgSendPulse(coid_, 10, 3, 0), 0);
  EXPECT_EQ(ReceivePulse(chid_).code, 3) << "and no pulse of a connection that went";
  EXPECT_EQ(ConnectDetach(other), 0);
  const _pulse gone = ReceivePulse(chid_);
  EXPECT_EQ(gone.code, _PULSE_CODE_DISCONNECT);
  EXPECT_EQ(gone.scoid, scoid);
  EXPECT_EQ(ConnectDetach(scoid), 0);
}

TEST_F(Channels, ServeAHundredConnectionsInTheOrderOfTheirPulses) {
  std::vector<int> connections;
  connections.reserve(100);
  for (int i = 0; i < 100; ++i) connections.push_back(ConnectAttach(0, 0, chid_, 0, 0));
  for (const int coid : connections) ASSERT_EQ(MsgSendPulse(coid, 10, 1, coid), 0);
  for (const int coid : connections) EXPECT_EQ(ReceivePulse(chid_).value.sival_int, coid);
  for (const int coid : connections) EXPECT_EQ(ConnectDetach(coid), 0);
  for (std::size_t i = 0; i < connections.size(); ++i) {
    EXPECT_EQ(ReceivePulse(chid_).code, _PULSE_CODE_DISCONNECT);
  }
}

}  // namespace
}  // namespace contract
