// Linux: no file and no descriptor stays in the runtime directory, in a process or in its children once unused.
#include <array>
#include <cerrno>
#include <filesystem>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include <fcntl.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include "platform/paths.h"
#include "platform/process.h"
#include "platform/shared_memory.h"
#include "platform/threads.h"

#include "tests/contract/platform_processes.h"

namespace contract {
namespace {

std::size_t OpenDescriptors() {
  return FilesIn("/proc/self/fd");
}

class LeftoversTest : public PlatformTest {};

// Makes every kind of file and descriptor, from several threads.
void UseEverything() {
  name_attach_t* const attach = name_attach(nullptr, "Everything", 0);
  ASSERT_NE(attach, nullptr);
  const std::jthread receiver([attach] {
    char byte = 0;
    for (int rcvid = 0; (rcvid = MsgReceive(attach->chid, &byte, 1, nullptr)) >= 0;) {
      if (rcvid > 0) MsgReply(rcvid, 1, nullptr, 0);
    }
  });
  const int coid = name_open("Everything", 0);
  const std::vector<char> large(100000);
  const auto send = [&](int) { EXPECT_EQ(MsgSend(coid, large.data(), large.size(), nullptr, 0), 1); };
  StartThreads(4, send).clear();
  send(0);
  EXPECT_EQ(name_close(coid), 0);
  EXPECT_EQ(name_detach(attach, 0), 0);
  close(platform::OpenSharedObject("/Everything", O_RDWR | O_CREAT, 0600));
  EXPECT_EQ(platform::UnlinkSharedObject("/Everything"), 0);
}

TEST_F(LeftoversTest, AreNoneAfterAnOrderlyUse) {
  UseEverything();
  const std::size_t before = OpenDescriptors();
  for (int i = 0; i < 5; ++i) UseEverything();
  EXPECT_EQ(OpenDescriptors(), before);
  EXPECT_EQ(FilesInDirectory(), 0U);
}

TEST_F(LeftoversTest, OfAThreadThatEndsAreNone) {
  const int chid = ChannelCreate(0);
  const int coid = ConnectAttach(0, 0, chid, 0, 0);
  const std::size_t before = OpenDescriptors();
  const auto send = [coid] { EXPECT_EQ(MsgSendPulse(coid, 10, 1, 0), 0); };
  for (int i = 0; i < 20; ++i) {
    std::thread(send).join();
    ReceivePulse(chid);
  }
  send();
  ReceivePulse(chid);
  // Two ends each of this thread's socket and of the last thread's, which the receiver closes when it next
  // looks.
  EXPECT_LE(OpenDescriptors(), before + 4);
  // NOLINTNEXTLINE(cert-env33-c): the test is about what a shell command inherits
  EXPECT_EQ(std::system("ls -l /proc/self/fd | grep -q socket:"), 256) << "a socket went through exec";
  EXPECT_EQ(ConnectDetach(coid), 0);
  EXPECT_EQ(ChannelDestroy(chid), 0);
}

TEST_F(LeftoversTest, OfAProcessThatExitsWithoutDetachingAreNone) {
  Child careless([] {
    const pid_t program = fork();
    if (program == 0) {
      static_cast<void>(ChannelCreate(0));
      static_cast<void>(name_attach(nullptr, "Careless", 0));
      static_cast<void>(platform::OpenSharedObject("/Careless", O_RDWR | O_CREAT, 0600));
      exit(0);  // NOLINT(concurrency-mt-unsafe): the test is about the exit handlers
    }
    int status = -1;
    waitpid(program, &status, 0);
    return status;
  });
  EXPECT_EQ(careless.Result(), 0);
  EXPECT_EQ(FilesInDirectory(), 0U);
  EXPECT_EQ(platform::OpenSharedObject("/Careless", O_RDWR, 0), -1);
}

TEST_F(LeftoversTest, OfKilledProcessesGoWithTheNextStartAndThoseInUseStay) {
  const auto open = [](const char* name, int flags) { return platform::OpenSharedObject(name, flags, 0600); };
  name_attach_t* const mine = name_attach(nullptr, "Mine", 0);
  ASSERT_NE(mine, nullptr);
  const int object = open("/InUse", O_RDWR | O_CREAT);
  const std::size_t before = FilesInDirectory();
  const Signal ready;
  Child killed([&] { return open("/Held", O_RDWR | O_CREAT) < 0 ? 1 : Server().Run(ready, ready); });
  EXPECT_TRUE(ready.Await());
  killed.Kill();
  EXPECT_GT(FilesInDirectory(), before);
  Child next([] { return ChannelCreate(0) > 0 ? 0 : 1; });
  EXPECT_EQ(next.Result(), 0);
  platform::RemoveRuntimeLeftovers();
  EXPECT_EQ(FilesInDirectory(), before);
  EXPECT_EQ(open("/Held", O_RDWR), -1);

  const int again = open("/InUse", O_RDWR);
  EXPECT_GE(again, 0);
  const int coid = name_open("Mine", 0);
  EXPECT_GE(coid, 0);
  name_close(coid);
  close(again);
  close(object);
  EXPECT_EQ(platform::UnlinkSharedObject("/InUse"), 0);
  EXPECT_EQ(name_detach(mine, 0), 0);
}

TEST_F(LeftoversTest, InAForkedChildDoNotKeepADeadParentAlive) {
  const Signal ready;
  const Signal release;
  Child parent([&] {
    name_attach_t* const attach = name_attach(nullptr, SERVER_NAME, 0);
    if (attach == nullptr) return 1;
    char byte = 0;
    const int held = ConnectAttach(0, 0, attach->chid, 0, 0);
    MsgSendPulse(held, 10, 1, 1);
    MsgReceive(attach->chid, &byte, 1, nullptr);
    if (fork() == 0) {
      alarm(CHILD_LIFETIME_S);
      // The parent's channel is of no use in its child.
      _exit(MsgReceive(attach->chid, &byte, 1, nullptr) == -1 && MsgSendPulse(held, 10, 1, 1) == -1 &&
                    release.Await()
                ? 0
                : 1);
    }
    ready.Raise();
    for (;;) MsgReceive(attach->chid, &byte, 1, nullptr);
  });
  ASSERT_TRUE(ready.Await());
  const int coid = name_open(SERVER_NAME, 0);
  const std::jthread killer([&] {
    std::this_thread::sleep_for(10ms);
    parent.Kill();
  });
  EXPECT_EQ(ErrorOf(MsgSend(coid, "H", 1, nullptr, 0)), ESRCH);
  // The kernel closes a dead process's descriptors one by one: the connection may go before the name.
  EXPECT_TRUE(Eventually([] { return name_open(SERVER_NAME, 0) == -1; }));
  name_attach_t* successor = nullptr;
  EXPECT_TRUE(Eventually([&] { return (successor = name_attach(nullptr, SERVER_NAME, 0)) != nullptr; }));
  name_detach(successor, 0);
  name_close(coid);
  release.Raise();
}

TEST_F(LeftoversTest, ThatSomebodyRemovedLetAPulseThrough) {
  const int chid = ChannelCreate(0);
  const int coid = ConnectAttach(0, 0, chid, 0, 0);
  std::filesystem::remove_all(platform::RuntimeDirectory());
  std::thread([coid] { EXPECT_EQ(MsgSendPulse(coid, 10, 7, 0), 0) << "a stop must wake the receiver"; }).join();
  EXPECT_EQ(ReceivePulse(chid).code, 7);
  ConnectDetach(coid);
  ChannelDestroy(chid);
}

TEST_F(LeftoversTest, OfALongRuntimePathAreNoHindrance) {
  const std::string deep = Directory() + "/" + std::string(120, 'd') + "/e";
  setenv("ORVIK_RUNTIME_DIR", deep.c_str(), 1);
  UseEverything();
  struct stat status {};
  ASSERT_EQ(stat(deep.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0700U);
}

TEST_F(LeftoversTest, ConnectionsWithGarbageAreDropped) {
  name_attach_t* const attach = name_attach(nullptr, SERVER_NAME, 0);
  ASSERT_NE(attach, nullptr);
  const std::string path =
      Directory() + "/channel." + std::to_string(getpid()) + "." + std::to_string(attach->chid);
  const int garbage = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  ASSERT_EQ(connect(garbage, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  const std::vector<char> noise(4000, '\x7F');
  for (const std::size_t size : {4000UL, 31UL, 1UL}) {
    static_cast<void>(send(garbage, noise.data(), size, MSG_NOSIGNAL));
  }
  const int coid = name_open(SERVER_NAME, 0);
  EXPECT_EQ(MsgSendPulse(coid, 10, 1, 77), 0);
  EXPECT_EQ(ReceivePulse(attach->chid).value.sival_int, 77);
  char byte = 0;
  EXPECT_LE(recv(garbage, &byte, 1, 0), 0);
  close(garbage);
  name_close(coid);
  name_detach(attach, 0);
}

TEST_F(LeftoversTest, OfDescriptorsAreNotNeededToTurnClientsAway) {
  const Signal ready;
  const Child server([&] {
    const rlimit few = {40, 40};
    return setrlimit(RLIMIT_NOFILE, &few) == 0 ? Server().Run(ready, ready) : 1;
  });
  ASSERT_TRUE(ready.Await());
  std::vector<int> connections;
  int answered = 0;
  for (int i = 0; i < 40; ++i) {
    const int coid = name_open(SERVER_NAME, 0);
    if (coid < 0) continue;
    connections.push_back(coid);
    const long result = MsgSend(coid, "E", 1, nullptr, 0);
    EXPECT_TRUE(result == 1 || errno == ESRCH);
    answered += result == 1 ? 1 : 0;
  }
  EXPECT_GT(answered, 5);
  EXPECT_LT(answered, 40);
  for (const int coid : connections) name_close(coid);
  EXPECT_TRUE(Eventually([] {
    const int coid = name_open(SERVER_NAME, 0);
    const long result = MsgSend(coid, "E", 1, nullptr, 0);
    name_close(coid);
    return result == 1;
  })) << "the server serves again when descriptors are free";
}

// A process that nobody has waited for, and whose death the kernel has not marked.
TEST_F(LeftoversTest, OfAHolderInTheLockAreSweptAway) {
  platform::shared_lock_t lock{};
  platform::InitSharedLock(lock);
  const Child ended([] { return 0; });
  siginfo_t info{};
  ASSERT_EQ(waitid(P_PID, static_cast<id_t>(ended.Pid()), &info, WEXITED | WNOWAIT), 0);
  lock.owner = static_cast<std::uint32_t>(ended.Pid());
  EXPECT_TRUE(platform::LockShared(lock, 1s).taken);
  platform::MarkSlot(lock, 4);
  platform::UnlockShared(lock);
  EXPECT_EQ(lock.slot, 0U);
}

TEST(PathsTest, OfTheUnitAreUnderItsRoot) {
  unsetenv("ORVIK_ROOT");
  EXPECT_EQ(platform::ResolveUnitPath("/fs/etfs/a"), "/fs/etfs/a");
  setenv("ORVIK_ROOT", "/tmp/unit/", 1);
  EXPECT_EQ(platform::ResolveUnitPath("/fs/etfs/a"), "/tmp/unit/fs/etfs/a");
  EXPECT_EQ(platform::ResolveUnitPath("config/a"), "config/a");
  unsetenv("ORVIK_ROOT");
}

// In processes of their own, whose limits and memory they change.
TEST(ProcessTest, TakesTheDescriptorsThatItMayHaveAndExactTimers) {
  for (const auto& [soft, hard, isEnough] : {std::tuple(30, 200, true), {200, 200, true}, {30, 60, false}}) {
    Child child([&, soft = rlim_t(soft), hard = rlim_t(hard)] {
      const rlimit limit{soft, hard};
      setrlimit(RLIMIT_NOFILE, &limit);
      return platform::EnsureDescriptors(100).empty() ? 1 : 0;
    });
    EXPECT_EQ(child.Result(), isEnough ? 1 : 0) << soft << ", " << hard;
  }
  EXPECT_EQ(
      Child([] { return platform::EnterRealTime().find("timers") == std::string::npos ? 1 : 0; }).Result(), 1);
}

bool IsUserSignalBlocked() {
  sigset_t mask{};
  pthread_sigmask(SIG_BLOCK, nullptr, &mask);
  return sigismember(&mask, SIGUSR1) == 1;
}

TEST(ThreadsTest, StartDetachedWithTheirNameAndWithoutTheUserSignal) {
  struct seen_t {
    Signal ended;
    std::array<char, 16> name{};
    bool blocked = false;
  } seen;
  const auto body = [](void* argument) -> void* {
    auto* const out = static_cast<seen_t*>(argument);
    pthread_getname_np(pthread_self(), out->name.data(), out->name.size());
    out->blocked = IsUserSignalBlocked();
    out->ended.Raise();
    return nullptr;
  };
  EXPECT_EQ(platform::StartDetachedThread({.name = "Key Pad Scanner Thread", .priority = 11}, body, &seen), 0);
  ASSERT_TRUE(seen.ended.Await());
  EXPECT_STREQ(seen.name.data(), "Key Pad Scanner");
  EXPECT_TRUE(seen.blocked);
  EXPECT_FALSE(IsUserSignalBlocked()) << "the starting thread keeps its mask";
}

}  // namespace
}  // namespace contract
