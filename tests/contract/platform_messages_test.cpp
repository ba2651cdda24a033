// Messages and pulses: blocking, sizes, order, and the replies to several threads.
#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <memory>
#include <vector>

#include "tests/contract/platform_processes.h"

namespace contract {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes MakeMessage(std::size_t size, unsigned seed) {
  Bytes bytes(size);
  for (std::size_t i = 0; i < size; ++i)
    bytes[i] = static_cast<std::uint8_t>(i * 31 + seed * std::size_t{7} + (i >> 8U));
  if (size > 0) bytes[0] = static_cast<std::uint8_t>(ask_t::ECHO);
  return bytes;
}

class MessagesTest : public ServedTest {};

TEST_F(MessagesTest, ComeBackWholeOrCutToTheRoomOfTheSenderInEverySize) {
  for (const std::size_t size :
       std::initializer_list<std::size_t>{0, 1, 20, 1824, 65535, 65536, 65537, LARGEST_MESSAGE}) {
    for (const std::size_t room : {size, std::min<std::size_t>(size, 10)}) {
      const Bytes sent = MakeMessage(size, 1);
      Bytes got(room + 16, 0xEE);
      ASSERT_EQ(MsgSend(coid_, sent.data(), size, got.data(), room), static_cast<long>(size));
      EXPECT_TRUE(std::equal(got.data(), got.data() + room, sent.data())) << size;
      EXPECT_EQ(got[room], 0xEE) << "wrote past the reply's end at " << size;
    }
  }
}

TEST_F(MessagesTest, AreRefusedAndHarmNothing) {
  const Bytes tooLong(LARGEST_MESSAGE + 1);
  EXPECT_EQ(ErrorOf(MsgSend(coid_, tooLong.data(), tooLong.size(), nullptr, 0)), EMSGSIZE);
  EXPECT_EQ(ErrorOf(Ask(ask_t::ERROR)), EDOM);
  EXPECT_EQ(ErrorOf(MsgSendPulse(coid_, 10, 128, 0)), EINVAL);
  const std::size_t descriptors = FilesIn("/proc/self/fd");
  for (int i = 0; i < 9; ++i) EXPECT_EQ(Ask(ask_t::ECHO), 1);
  EXPECT_EQ(FilesIn("/proc/self/fd"), descriptors) << "a thread has one socket of a connection";
  const int closed = name_open(SERVER_NAME, 0);
  ASSERT_EQ(name_close(closed), 0);
  for (const int coid : {-1, closed, 123456}) {
    EXPECT_EQ(ErrorOf(MsgSend(coid, "E", 1, nullptr, 0)), EBADF) << coid;
    EXPECT_EQ(ErrorOf(MsgSendPulse(coid, 10, 0, 0)), EBADF);
  }
  EXPECT_EQ(Ask(ask_t::ECHO), 1);
}

TEST_F(MessagesTest, WaitingForAReplyEndsWhenAnotherThreadClosesTheConnection) {
  std::thread waiting([&] { EXPECT_EQ(Ask(ask_t::HOLD), -1); });
  EXPECT_TRUE(held_.Await());
  EXPECT_EQ(name_close(coid_), 0);
  waiting.join();
  coid_ = name_open(SERVER_NAME, 0);
  EXPECT_EQ(Ask(ask_t::ECHO), 1);
}

// Receiver and sender in one process. The test itself receives on the channel.
class ChannelsTest : public PlatformTest {
 protected:
  ChannelsTest() : chid_(ChannelCreate(_NTO_CHF_DISCONNECT)), coid_(ConnectAttach(0, 0, chid_, 0, 0)) {}
  ~ChannelsTest() override {
    ConnectDetach(coid_);
    ChannelDestroy(chid_);
  }
  const int chid_;
  const int coid_;
};

TEST_F(ChannelsTest, CutLongMessagesAndTellWhoSentThem) {
  for (const std::size_t size : {500UL, 200000UL}) {
    SCOPED_TRACE(size);
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
    EXPECT_EQ(ErrorOf(MsgReply(rcvid, 42, sent.data(), LARGEST_MESSAGE + 1)), EMSGSIZE);
    EXPECT_EQ(MsgReply(rcvid, 42, nullptr, 0), 0);
    sender.join();
  }
}

TEST_F(ChannelsTest, AnswerEachMessageOnceAndInAnyOrder) {
  const auto senders = StartThreads(3, [&](int i) {
    for (const int base : {100, 200}) EXPECT_EQ(MsgSend(coid_, &i, sizeof i, nullptr, 0), base + i);
  });
  std::array<std::pair<int, int>, 3> waiting;
  std::vector<int> answered = {0, -5, 0x7FFFFFFF};
  for (const int base : {100, 200}) {
    for (auto& [rcvid, i] : waiting) rcvid = MsgReceive(chid_, &i, sizeof i, nullptr);
    for (const int stale : answered) EXPECT_EQ(ErrorOf(MsgReply(stale, 99, nullptr, 0)), ESRCH);
    std::reverse(waiting.begin(), waiting.end());
    for (const auto& [rcvid, i] : waiting) {
      EXPECT_EQ(MsgReply(rcvid, base + i, nullptr, 0), 0);
      answered.push_back(rcvid);
    }
  }
}

TEST_F(ChannelsTest, GiveEachOfManySendersItsOwnReplyFromSeveralReceivers) {
  auto receivers = StartThreads(3, [&](int) {
    Bytes buffer(10240);
    _msg_info info{};
    for (int rcvid = 0; (rcvid = MsgReceive(chid_, buffer.data(), buffer.size(), &info)) >= 0;) {
      if (rcvid > 0) MsgReply(rcvid, info.msglen, buffer.data(), static_cast<std::size_t>(info.msglen));
    }
  });
  StartThreads(8, [&](int id) {
    for (int round = 0; round < 200; ++round) {
      const Bytes sent = MakeMessage(8 + static_cast<std::size_t>(round * 37 + id * 1201) % 10232,
                                     static_cast<unsigned>(id * 200 + round));
      Bytes got(sent.size());
      EXPECT_EQ(MsgSend(coid_, sent.data(), sent.size(), got.data(), got.size()), std::ssize(sent));
      EXPECT_EQ(got, sent);
    }
  }).clear();
  EXPECT_EQ(ChannelDestroy(chid_), 0);
}

TEST_F(ChannelsTest, WhenDestroyedWakeReceiversAndSenders) {
  std::atomic<int> failed = 0;
  auto threads = StartThreads(4, [&](int i) {
    char byte = 0;
    long result = 0;
    if (i % 2 == 0) {
      result = MsgSend(coid_, "x", 1, nullptr, 0);
    } else {
      // Takes the messages and leaves them unanswered.
      while (result >= 0) result = MsgReceive(chid_, &byte, 1, nullptr);
    }
    failed += ErrorOf(result) == ESRCH ? 1 : 0;
  });
  std::this_thread::sleep_for(20ms);  // time for them to block; the expectations hold without it too
  EXPECT_EQ(ChannelDestroy(chid_), 0);
  threads.clear();
  EXPECT_EQ(failed, 4);
  EXPECT_EQ(ErrorOf(MsgSend(coid_, "x", 1, nullptr, 0)), ESRCH);
  EXPECT_EQ(ErrorOf(ConnectAttach(0, 0, chid_, 0, 0)), ESRCH);
  EXPECT_EQ(ChannelDestroy(chid_), -1);
}

TEST_F(ChannelsTest, DeliverPulsesInOrderUpToWhatTheyHold) {
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

TEST_F(ChannelsTest, DeliverAMessageBehindThePulsesOfItsThread) {
  const std::jthread sender([&] {
    for (int i = 0; i < 50; ++i) EXPECT_EQ(MsgSendPulse(coid_, 10, 1, i), 0);
    EXPECT_EQ(MsgSend(coid_, "m", 1, nullptr, 0), 7);
  });
  for (int i = 0; i < 50; ++i) EXPECT_EQ(ReceivePulse(chid_).value.sival_int, i);
  char byte = 0;
  EXPECT_EQ(MsgReply(MsgReceive(chid_, &byte, 1, nullptr), 7, nullptr, 0), 0);
}

TEST_F(ChannelsTest, TellThatAConnectionWentWhenAllOfItWent) {
  const int other = ConnectAttach(0, 0, chid_, 0, 0);
  int scoid = 0;
  // Two threads use the connection and end. It stays open.
  for (int i = 0; i < 2; ++i) {
    std::thread([&] { EXPECT_EQ(MsgSendPulse(other, 10, 9, i), 0); }).join();
    const _pulse pulse = ReceivePulse(chid_);
    EXPECT_EQ(pulse.value.sival_int, i);
    EXPECT_TRUE(scoid == 0 || scoid == pulse.scoid);
    scoid = pulse.scoid;
  }
  EXPECT_EQ(MsgSendPulse(coid_, 10, 3, 0), 0);
  EXPECT_EQ(ReceivePulse(chid_).code, 3) << "no disconnect pulse was sent";
  EXPECT_EQ(ConnectDetach(other), 0);
  const _pulse gone = ReceivePulse(chid_);
  EXPECT_EQ(gone.code, _PULSE_CODE_DISCONNECT);
  EXPECT_EQ(gone.scoid, scoid);
  EXPECT_EQ(ConnectDetach(scoid), 0);
}

TEST_F(ChannelsTest, ServeAHundredConnectionsInTheOrderOfTheirPulses) {
  std::array<int, 100> connections{};
  for (int& coid : connections) coid = ConnectAttach(0, 0, chid_, 0, 0);
  for (const int coid : connections) ASSERT_EQ(MsgSendPulse(coid, 10, 1, coid), 0);
  for (const int coid : connections) EXPECT_EQ(ReceivePulse(chid_).value.sival_int, coid);
  for (const int coid : connections) EXPECT_EQ(ConnectDetach(coid), 0);
}

// --- Names: one living holder each, and free at once after its death

using NamesTest = PlatformTest;

TEST_F(NamesTest, AreHeldByOneAtATime) {
  constexpr const char* ODD = "a name/with %";
  const auto attach = [](const char* name) { return name_attach(nullptr, name, 0); };
  EXPECT_EQ(ErrorOf(name_open(ODD, 0)), ENOENT);
  name_attach_t* const first = attach(ODD);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(attach(ODD), nullptr);
  EXPECT_EQ(errno, EEXIST);
  Child rival([&] { return attach(ODD) == nullptr && errno == EEXIST ? 0 : 1; });
  EXPECT_EQ(rival.Result(), 0);

  name_attach_t* const other = attach("a name");
  EXPECT_NE(other, nullptr);
  const int coid = name_open("a name", 0);
  EXPECT_GE(coid, 0);
  EXPECT_EQ(attach("a name"), nullptr) << "looking a name up must not free it";

  EXPECT_EQ(name_detach(first, 0), 0);
  EXPECT_EQ(ErrorOf(name_open(ODD, 0)), ENOENT);
  name_attach_t* const again = attach(ODD);
  EXPECT_NE(again, nullptr);
  EXPECT_EQ(name_close(coid), 0);
  EXPECT_EQ(name_detach(again, 0), 0);
  EXPECT_EQ(name_detach(other, 0), 0);
}

TEST_F(NamesTest, AreTakenByExactlyOneOfManyAtTheSameTime) {
  const Signal go;
  const Signal won;
  const Signal done;
  const auto compete = [&] {
    if (!go.Await()) return 3;
    name_attach_t* const attach = name_attach(nullptr, SERVER_NAME, 0);
    if (attach == nullptr) return errno == EEXIST ? 1 : 2;
    won.Raise();
    done.Await();
    return name_detach(attach, 0);
  };
  std::array<std::unique_ptr<Child>, 6> rivals;
  for (auto& rival : rivals) rival = std::make_unique<Child>(compete);
  for (std::size_t i = 0; i < rivals.size(); ++i) go.Raise();
  ASSERT_TRUE(won.Await());
  // The winner waits for `done`, which it gets once all others have given up.
  ASSERT_TRUE(Eventually([&] {
    return std::count_if(rivals.begin(), rivals.end(), [](auto& rival) { return rival->HasEnded(); }) == 5;
  }));
  done.Raise();
  int sum = 0;
  for (auto& rival : rivals) sum += rival->Result();
  EXPECT_EQ(sum, 5) << "one result 0 and five of 1";
}

}  // namespace
}  // namespace contract
