// Linux: the emulated board. Keypad matrix, pads, counter, beeper and backlight.
#include <cerrno>
#include <limits>
#include <tuple>
#include <vector>

#include <fcntl.h>

#include "platform/board_state.h"
#include "platform/clock.h"
#include "platform/device.h"
#include "platform/device_io.h"

#include "tests/contract/platform_processes.h"

namespace contract {
namespace {

using platform::BoardMapping;

constexpr int CommandWord(std::uint32_t word) {
  return static_cast<int>(word);
}
constexpr int ENABLE = CommandWord(0x80040505U);

class BoardTest : public PlatformTest {
 protected:
  BoardTest() { EXPECT_EQ(ThreadCtl(_NTO_TCTL_IO, nullptr), 0); }
  platform::board_state_t& State() const { return *owner_.Get(); }

  BoardMapping owner_{BoardMapping::role_t::OWNER};
};

TEST_F(BoardTest, AnswersTheScannersStrobesWithTheKeysHeld) {
  const std::uintptr_t keypad = mmap_device_io(8, 0x43FA8000);
  ASSERT_NE(keypad, MAP_DEVICE_FAILED);
  out16(keypad, 0x0F0F);
  KeysHeldBy(State(), platform::key_source_t::PANEL) = 0x80;
  KeysHeldBy(State(), platform::key_source_t::KEY_DEVICE) = 0x110;  // there is no ninth key
  // Only outputs drive their column low. No key is in column 10.
  for (const auto& [direction, data, rows] : {std::tuple(0x0F00U, 0xF7FFU, 0xDU),
                                              {0x0F00U, 0xFBFFU, 0xFU},
                                              {0x0F00U, 0xFDFFU, 0xEU},
                                              {0x0F00U, 0xFEFFU, 0xFU},
                                              {0x0F00U, 0xF5FFU, 0xCU},
                                              {0x0700U, 0xF5FFU, 0xEU}}) {
    out16(keypad + 4, static_cast<std::uint16_t>(direction));
    out16(keypad + 6, static_cast<std::uint16_t>(data));
    EXPECT_EQ(in16(keypad + 6), (data & 0xFFF0U) | rows) << std::hex << direction << ' ' << data;
  }
  EXPECT_EQ(in16(keypad), 0x0F0F);
}

TEST_F(BoardTest, KeepsItsPadsAndHasNothingElsewhere) {
  EXPECT_EQ(BoardMapping(BoardMapping::role_t::OWNER).Get(), nullptr) << "there is one owner";
  EXPECT_EQ(BoardMapping(BoardMapping::role_t::USER).Get()->magic, State().magic);
  const std::uintptr_t pads = mmap_device_io(16, 0x43FAC060);
  ASSERT_NE(pads, MAP_DEVICE_FAILED);
  out32(pads + 4, 0x12121212);
  out32(pads + 12, 0x12121212);
  EXPECT_EQ(in32(pads + 4), 0x12121212U);
  EXPECT_EQ(State().padControl[3], 0x12121212U);
  EXPECT_EQ(State().padControl[0], 0U);
  out32(pads + 16, 1);
  EXPECT_EQ(in32(pads + 16), 0xFFFFFFFFU);
  EXPECT_EQ(in16(pads), 0xFFFFU);
  for (const auto& [bytes, address] : {std::pair<std::size_t, std::uint64_t>{9, 0x43FA8000},
                                       {4, 0x43FA8006},
                                       {4, 0x12345678},
                                       {std::numeric_limits<std::size_t>::max(), 0x43FA8000}}) {
    EXPECT_EQ(mmap_device_io(bytes, address), MAP_DEVICE_FAILED) << bytes << " at " << address;
    EXPECT_EQ(errno, ENXIO);
  }
  EXPECT_EQ(munmap_device_io(pads, 16), 0);
  EXPECT_EQ(munmap_device_io(1, 16), -1);
}

TEST_F(BoardTest, GivesItsRegistersToPrivilegedThreadsOnly) {
  std::thread([] {
    EXPECT_EQ(mmap_device_io(8, 0x43FA8000), MAP_DEVICE_FAILED);
    EXPECT_EQ(errno, EPERM);
    EXPECT_EQ(ThreadCtl(99, nullptr), -1);
    EXPECT_EQ(ThreadCtl(_NTO_TCTL_IO, nullptr), 0);
    EXPECT_NE(mmap_device_io(8, 0x43FA8000), MAP_DEVICE_FAILED);
  }).join();
}

TEST_F(BoardTest, CounterRunsAt32000ASecondAndCyclesAt66Point5Million) {
  const std::uintptr_t counter = mmap_device_io(4, 0x53F90024);
  ASSERT_NE(counter, MAP_DEVICE_FAILED);
  // Compares both clocks: each reading of the counter lies between two readings of the cycles.
  const std::uint64_t cycles0 = ClockCycles();
  const std::uint32_t count0 = in32(counter);
  const std::uint64_t cycles1 = ClockCycles();
  std::this_thread::sleep_for(50ms);
  const std::uint64_t cycles2 = ClockCycles();
  const std::uint32_t count1 = in32(counter);
  const std::uint64_t cycles3 = ClockCycles();
  const std::uint32_t counts = count1 - count0;
  EXPECT_GE(counts + 1, (cycles2 - cycles1) * 32'000 / CYCLES_PER_SECOND);
  EXPECT_LE(counts, (cycles3 - cycles0) * 32'000 / CYCLES_PER_SECOND + 1);
  EXPECT_GE(cycles2 - cycles1, CYCLES_PER_SECOND / 20);
}

TEST_F(BoardTest, BeeperTakesItsExactCommandAndCountsTheRest) {
  const int device = platform::OpenDevice("/dev/io_interface", O_RDWR);
  ASSERT_GT(device, 0);
  using Command = std::vector<std::uint8_t>;
  const auto write = [device](const Command& command) {
    return platform::WriteDevice(device, command.data(), command.size());
  };
  const Command on = {0x20, 0, 0, 0, 0x00, 0x00, 0x80, 0x3F};
  EXPECT_EQ(write(on), 8);
  EXPECT_EQ(State().beeperValue, 0x3F800000U);
  EXPECT_EQ(write(on), 8);
  EXPECT_EQ(write({0x20, 0, 0, 0, 0, 0, 0, 0}), 8);
  EXPECT_EQ(State().beeperValue, 0U);
  EXPECT_EQ(State().beeperChanges, 2U);
  for (const Command& refused :
       {Command{}, Command{0x20, 0, 0, 0, 0, 0, 0x80}, Command{0x20, 0, 0, 0, 0, 0, 0x80, 0x3F, 0},
        Command{0x21, 0, 0, 0, 0, 0, 0x80, 0x3F}, Command{0x20, 0, 1, 0, 0, 0, 0x80, 0x3F},
        Command{0x20, 0, 0, 0, 0, 0, 0x00, 0x40}}) {
    EXPECT_EQ(ErrorOf(write(refused)), EINVAL) << testing::PrintToString(refused);
  }
  EXPECT_EQ(State().outputRefused, 6U);
  EXPECT_EQ(State().outputWrites, 3U);
  EXPECT_EQ(devctl(device, ENABLE, nullptr, 0, nullptr), ENOTTY);
  EXPECT_EQ(platform::CloseDevice(device), 0);
}

TEST_F(BoardTest, BacklightTakesItsThreeCommandsAndCountsTheRest) {
  constexpr int PERIOD = CommandWord(0x80040501U), DUTY = CommandWord(0x80040503U);
  const int device = platform::OpenDevice("/dev/pwm0", O_RDONLY);
  ASSERT_GT(device, 0);
  int period = 100;
  int duty = 35;
  struct case_t {
    int command;
    int* value;
    std::size_t bytes;
    int error;
  };
  for (const auto& [command, value, bytes, error] : {case_t{ENABLE, nullptr, 0, 0},
                                                     {PERIOD, &period, 4, 0},
                                                     {DUTY, &duty, 4, 0},
                                                     {DUTY, &duty, 4, 0},  // no change
                                                     {ENABLE, &duty, 4, EINVAL},
                                                     {DUTY, &period, 2, EINVAL},
                                                     {DUTY, nullptr, 4, EINVAL},
                                                     {CommandWord(0x80040502U), &period, 4, ENOTTY}}) {
    EXPECT_EQ(devctl(device, command, value, bytes, nullptr), error) << std::hex << command;
  }
  const platform::board_state_t& state = State();
  EXPECT_EQ((std::vector<unsigned>{state.pwmEnabled, state.pwmPeriod, state.pwmDuty}),
            (std::vector{1U, 100U, 35U}));
  EXPECT_EQ((std::vector<unsigned>{state.pwmChanges, state.pwmRefused}), (std::vector{3U, 4U}));
  EXPECT_EQ(platform::CloseDevice(device), 0);
  EXPECT_EQ(devctl(device, ENABLE, nullptr, 0, nullptr), EBADF);
}

using NoBoardTest = PlatformTest;

TEST_F(NoBoardTest, MeansNoDevices) {
  for (const char* path : {"/dev/io_interface", "/dev/pwm0"}) {
    EXPECT_EQ(ErrorOf(platform::OpenDevice(path, O_RDWR)), ENOENT) << path;
  }
  EXPECT_EQ(BoardMapping(BoardMapping::role_t::USER).Get(), nullptr);
  EXPECT_EQ(devctl(-1, 0, nullptr, 0, nullptr), EBADF);
}

}  // namespace
}  // namespace contract
