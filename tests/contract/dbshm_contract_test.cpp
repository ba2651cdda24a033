// The parameter database between processes: whole values, validity, pulses, and a lock that outlives its
// holder. The other process is this program again, started with "--child" and the name of its
// part.
#include <array>
#include <cmath>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <functional>
#include <iterator>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/clock.h"
#include "platform/messages.h"
#include "platform/shared_memory.h"

#include "src/services/dbshm.h"
#include "tests/support/test_folder.h"

namespace {

using namespace dbshm_layout;

constexpr unsigned CHARACTERS = 100, TAGGED = 101, TORN = 102, FIRST_TYPED = 110;
constexpr int BROKEN = 3;  // a child's exit status for a value that no process wrote

std::uint8_t* At(std::size_t offset) {
  return static_cast<std::uint8_t*>(DBSHM::getMemoryPtr()) + offset;
}

template <class T>
void Poke(std::size_t offset, T value) {
  std::memcpy(At(offset), &value, sizeof value);
}

template <class T>
T Peek(std::size_t offset) {
  T value;
  std::memcpy(&value, At(offset), sizeof value);
  return value;
}

constexpr std::size_t Slot(unsigned handle, std::size_t offset) {
  return SLOTS_AT + SLOT_SIZE * handle + offset;
}

template <class T>
bool Reads(unsigned handle, T expected) {
  T value{};
  return DBSHM::Read(handle, value) == 1 && value == expected;
}

// --- Values of every type, written by one process and read by another

constexpr auto TYPED =
    std::tuple(-1234.5678, 0.25F, true, static_cast<signed char>(-128), static_cast<unsigned char>(255),
               -2'000'000'000, 4'000'000'000U, -9'000'000'000'000'000'000LL, 18'000'000'000'000'000'000ULL);

void WriteTypes() {
  std::apply([handle = FIRST_TYPED](auto... value) mutable { (DBSHM::Write(handle++, value), ...); }, TYPED);
  DBSHM::Write(CHARACTERS, "ABCDEFGH");
}

bool ReadTypes() {
  char characters[9]{};
  return std::apply([handle = FIRST_TYPED](auto... value) mutable { return (Reads(handle++, value) && ...); },
                    TYPED) &&
         DBSHM::Read(CHARACTERS, characters) == 1 && std::strcmp(characters, "ABCDEFGH") == 0;
}

// --- What the children do

const std::array<const char*, 4> PATTERNS = {"AAAAAAAA", "BBBBBBBB", "CCCCCCCC", "DDDDDDDD"};

void WritePattern(unsigned i) {
  DBSHM::Write(CHARACTERS, PATTERNS[i % PATTERNS.size()]);
  DBSHM::Write(TAGGED, i % 1000, static_cast<double>(i % 1000), 100'000, true);
}

// Whether every valid value is one that a process has written as a whole.
bool IsWhole() {
  char characters[9]{};
  if (DBSHM::Read(CHARACTERS, characters) == 1 && characters != std::string(8, characters[0])) return false;
  unsigned tag = 0;
  double value = 0;
  return DBSHM::Read(TAGGED, tag, value) == 0 || value == tag;
}

int ReadAndWriteBesideAnother() {
  for (unsigned i = 0; i < 200'000; ++i) {
    WritePattern(i);
    if (!IsWhole()) return BROKEN;
  }
  return 0;
}

// Dies while it holds the lock and has written half of a value.
int DieWhileWriting() {
  auto& lock = *reinterpret_cast<platform::shared_lock_t*>(At(LOCK_AT));
  if (platform::LockShared(lock, std::chrono::seconds(1)).torn) return BROKEN;
  platform::MarkSlot(lock, TORN);
  Poke<std::uint32_t>(Slot(TORN, VALUE_AT), 0xDEADBEEF);
  kill(getpid(), SIGKILL);
  return BROKEN;
}

// Kills one writer after another at random moments. The next reader must find whole values without delay.
int KillManyWriters() {
  std::minstd_rand random(1);
  for (int i = 0; i < 2000; ++i) {
    const pid_t writer = fork();
    if (writer == 0) {
      for (unsigned step = 0;; ++step) WritePattern(step);
    }
    usleep(static_cast<useconds_t>(random() % 400));
    kill(writer, SIGKILL);
    if (!IsWhole()) return BROKEN;
    waitpid(writer, nullptr, 0);
    if (!IsWhole()) return BROKEN;
  }
  return 0;
}

// main has called Open, and its message was printed. This checks the message of the second call.
int FindNothing() {
  testing::internal::CaptureStderr();
  DBSHM::Open();
  if (testing::internal::GetCapturedStderr() != "DBSHM_main Open() ERROR, could not open DBSHM.\n") return 1;
  double value = 5;
  DBSHM::Write(1, 1.0);
  return DBSHM::getMemoryPtr() == nullptr && DBSHM::Read(1, value) == 0 && value == 0.0 ? 0 : 2;
}

const std::map<std::string, int (*)()> CHILDREN = {
    {"check-types", [] { return ReadTypes() ? 0 : BROKEN; }},
    {"die-while-writing", DieWhileWriting},
    {"find-nothing", FindNothing},
    {"kill-many-writers", KillManyWriters},
    {"read-and-write", ReadAndWriteBesideAnother},
};

// Starts the child by the emulator where this program runs in one, because the kernel cannot start it.
pid_t StartChild(const char* part) {
  std::istringstream emulator(EMULATOR);
  std::vector<std::string> words(std::istream_iterator<std::string>(emulator), {});
  words.insert(words.end(), {std::filesystem::read_symlink("/proc/self/exe"), "--child", part});
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  pid_t child = -1;
  posix_spawnp(&child, arguments[0], nullptr, nullptr, arguments.data(), environ);
  return child;
}

int ExitStatus(pid_t child) {
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

class DatabaseTest : public testing::Test {
 protected:
  RuntimeDirectoryForTest directory_;

  DatabaseTest() { DBSHM::Init(); }
  ~DatabaseTest() override { platform::UnlinkSharedObject(OBJECT_NAME); }

  // The values of the queued pulses in order. The test sends a pulse of its own to end them.
  static std::vector<int> DrainPulses() {
    constexpr int END = 1;
    MsgSendPulse(DBSHM::getCoid(), getprio(0), END, 0);
    std::vector<int> values;
    for (_pulse pulse{};
         MsgReceive(DBSHM::getChid(), &pulse, sizeof pulse, nullptr) == 0 && pulse.code != END;) {
      values.push_back(pulse.value.sival_int);
    }
    return values;
  }
};

TEST_F(DatabaseTest, EveryTypeReachesAnotherProcess) {
  WriteTypes();
  EXPECT_TRUE(ReadTypes());
  EXPECT_EQ(ExitStatus(StartChild("check-types")), 0);
}

TEST_F(DatabaseTest, AFloatIsWrittenAndReadThroughTheDoubleOfItsSlot) {
  double wide = 0;
  DBSHM::Write(TAGGED, 2.5F);
  EXPECT_EQ(DBSHM::Read(TAGGED, wide), 1);
  EXPECT_EQ(wide, 2.5);
  unsigned tag = 0;
  float narrow = 0;
  DBSHM::Write(TAGGED, 7U, 3.25, 100'000, true);
  EXPECT_EQ(DBSHM::Read(TAGGED, tag, narrow), 1);
  EXPECT_EQ(tag, 7U);
  EXPECT_EQ(narrow, 3.25F);
}

TEST_F(DatabaseTest, ValuesLieInTheObjectAsLaidOut) {
  DBSHM::Write(2, 0x7BCDU, -1.0, 1, true);
  EXPECT_EQ(Peek<std::uint32_t>(32 + 80), 0x7BCDU);
  EXPECT_EQ(Peek<std::uint64_t>(32 + 80 + 8), 0xBFF0000000000000U);
  EXPECT_EQ(Peek<std::uint32_t>(32 + 80 + 36), 0U);
  DBSHM::Write(2, static_cast<unsigned char>(7));
  EXPECT_EQ(Peek<std::uint64_t>(32 + 80 + 8), 0xBFF0000000000007U);  // one byte is replaced, the rest stays
  EXPECT_EQ(Peek<std::uint32_t>(32 + 80 + 36), 1U);
  EXPECT_EQ(Peek<std::int32_t>(8), DBSHM::getChid());
  EXPECT_EQ(Peek<std::int32_t>(12), getpid());
  void* const view = DBSHM::getMemoryPtr();
  DBSHM::Open();
  DBSHM::Init();
  EXPECT_EQ(DBSHM::getMemoryPtr(), view) << "other threads are reading it";
}

TEST_F(DatabaseTest, ProcessesAtOnceAndAnyNumberOfKilledOnesLeaveWholeValuesAndBlockNobody) {
  for (const pid_t child : {StartChild("read-and-write"), StartChild("read-and-write")}) {
    EXPECT_EQ(ExitStatus(child), 0);
  }
  EXPECT_EQ(ExitStatus(StartChild("kill-many-writers")), 0);
  EXPECT_TRUE(IsWhole());
}

TEST_F(DatabaseTest, WhileALivingProcessKeepsTheLockNothingIsReadOrWritten) {
  DBSHM::Write(TAGGED, 7.0);
  auto& lock = *reinterpret_cast<platform::shared_lock_t*>(At(LOCK_AT));
  ASSERT_TRUE(platform::LockShared(lock, std::chrono::seconds(1)).taken);
  std::thread([] {
    double value = 5;
    EXPECT_EQ(DBSHM::Read(TAGGED, value), 0);
    EXPECT_EQ(value, 0);
    DBSHM::Write(TAGGED, 8.0);
  }).join();
  platform::UnlockShared(lock);
  EXPECT_TRUE(Reads(TAGGED, 7.0));
}

TEST_F(DatabaseTest, AValueExpiresAfterItsTime) {
  const std::uint64_t before = ClockCycles();
  DBSHM::Write(5, 3U, 1.5, 20, true);
  const std::uint64_t after = ClockCycles();
  const auto expiry = Peek<std::uint64_t>(Slot(5, EXPIRY_AT));
  EXPECT_GE(expiry, before + std::uint64_t{20} * 66'500);
  EXPECT_LE(expiry, after + std::uint64_t{20} * 66'500);

  double value = 0;
  unsigned tag = 0;
  Poke(Slot(5, EXPIRY_AT), ClockCycles() + CYCLES_PER_SECOND * 60);
  EXPECT_EQ(DBSHM::Read(5, tag, value), 1);
  EXPECT_EQ(value, 1.5);
  EXPECT_EQ(tag, 3U);

  Poke(Slot(5, EXPIRY_AT), ClockCycles() - 1);
  EXPECT_EQ(DBSHM::Read(5, tag, value), 0);
  EXPECT_EQ(value, 0.0);
  EXPECT_EQ(tag, 0U);
  EXPECT_EQ(Peek<std::uint64_t>(Slot(5, EXPIRY_AT)), 0U);

  DBSHM::Write(5, 2.5, 0xFFFFFFFF, true);  // 49 days
  EXPECT_TRUE(Reads(5, 2.5));
  DBSHM::Write(5, 2.5, 1000, false);
  EXPECT_EQ(Peek<std::uint64_t>(Slot(5, EXPIRY_AT)), 0U);
  EXPECT_EQ(DBSHM::Read(5, value), 0);
  DBSHM::Write(5, 2.5);
  EXPECT_TRUE(Reads(5, 2.5));
  DBSHM::Write(5, "12345678", 60'000, true);
  EXPECT_GT(Peek<std::uint64_t>(Slot(5, EXPIRY_AT)), ClockCycles() + CYCLES_PER_SECOND);
}

TEST_F(DatabaseTest, AChangeSendsOnePulse) {
  struct case_t {
    const char* what;
    std::function<void()> write;
    std::size_t pulses;
  };
  const std::vector<case_t> cases = {
      {"a first value", [] { DBSHM::Write(9, 1.0); }, 1},
      {"the same", [] { DBSHM::Write(9, 1.0); }, 0},
      {"the same in its first byte", [] { DBSHM::Write(9, static_cast<unsigned char>(0)); }, 0},
      {"another", [] { DBSHM::Write(9, std::nan("")); }, 1},
      {"the same that equals nothing", [] { DBSHM::Write(9, std::nan("")); }, 0},
      {"another tag", [] { DBSHM::Write(9, 4U, std::nan(""), 0, false); }, 1},
      {"the same tag", [] { DBSHM::Write(9, 4U, std::nan(""), 1000, true); }, 0},
      {"characters", [] { DBSHM::Write(9, 4U, "12345678", 1000, true); }, 1},
      {"the same characters", [] { DBSHM::Write(9, "12345678", 1000, true); }, 0},
      {"a slot that asks for none", [] { DBSHM::Write(10, 1.0); }, 0},
  };
  Poke<std::uint32_t>(Slot(9, NOTIFY_AT), 4321);
  for (const case_t& c : cases) {
    c.write();
    EXPECT_EQ(DrainPulses(), std::vector<int>(c.pulses, 4321)) << c.what;
  }
}

TEST_F(DatabaseTest, NamesAreReadWithoutTrustInTheirTable) {
  const std::string longest(NAME_SIZE, 'x');
  std::size_t at = NAMES_AT;
  for (const auto& [handle, name] : {std::pair<unsigned, std::string>{11, "PlugA.Resistor"},
                                     {12, "Version.Os.1"},
                                     {13, "PlugA.Resistor"},
                                     {14, longest}}) {
    Poke(at, handle);
    std::memcpy(At(at + 4), name.data(), name.size());
    at += NAME_ENTRY_SIZE;
  }
  for (const std::uint32_t last : {3U, 0xFFFFFFFFU}) {
    SCOPED_TRACE(last);
    Poke(LAST_NAME_AT, last);
    DBSHM::makeParamMap();
    EXPECT_EQ(DBSHM::getHandle("PlugA.Resistor"), 11U);
    EXPECT_EQ(DBSHM::getHandle(longest), 14U);
  }
  Poke(LAST_NAME_AT, 1U);
  DBSHM::makeParamMap();
  unsigned handle = 99;
  EXPECT_EQ(DBSHM::getParameterHandle(longest, handle), 0);
  EXPECT_EQ(handle, 99U);
  EXPECT_EQ(DBSHM::getDeviceHandle("Version.Os.1", handle), 1);
  EXPECT_EQ(handle, 12U);
  EXPECT_EQ(DBSHM::getHandle("absent"), 0U);
}

TEST_F(DatabaseTest, AWriterKilledInTheMiddleLeavesAnInvalidValueAndAFreeLock) {
  DBSHM::Write(TORN, 1.0);
  DBSHM::Write(TORN + 1, 2.0);
  EXPECT_EQ(ExitStatus(StartChild("die-while-writing")), -SIGKILL);
  EXPECT_TRUE(Reads(TORN + 1, 2.0));
  double value = 0;
  EXPECT_EQ(DBSHM::Read(TORN, value), 0);
  DBSHM::Write(TORN, 3.0);
  EXPECT_TRUE(Reads(TORN, 3.0));
}

TEST_F(DatabaseTest, WithoutADatabaseNothingIsReadOrWritten) {
  platform::UnlinkSharedObject(OBJECT_NAME);
  EXPECT_EQ(ExitStatus(StartChild("find-nothing")), 0);

  // An object that its owner is still making is shorter than the layout.
  const int fd = platform::OpenSharedObject(OBJECT_NAME, O_RDWR | O_CREAT | O_EXCL, 0777);
  ASSERT_GE(fd, 0);
  EXPECT_EQ(ftruncate(fd, 4096), 0);
  EXPECT_EQ(ExitStatus(StartChild("find-nothing")), 0);
  close(fd);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 3 && std::string(argv[1]) == "--child") {
    DBSHM::Open();
    return CHILDREN.at(argv[2])();
  }
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
