#include "platform/device.h"

#include <array>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string_view>

#include <fcntl.h>
#include <unistd.h>

#include "platform/board_state.h"
#include "platform/byte_order.h"
#include "platform/paths.h"

namespace platform {
namespace {

constexpr std::string_view OUTPUT_PATH = "/dev/io_interface";
constexpr std::string_view PWM_PATH = "/dev/pwm0";

constexpr std::size_t OUTPUT_COMMAND_SIZE = 8;
constexpr std::uint16_t BEEPER_OUTPUT = 0x20;
constexpr std::uint32_t ON = std::bit_cast<std::uint32_t>(1.0F);
constexpr std::uint32_t OFF = std::bit_cast<std::uint32_t>(0.0F);

constexpr auto PWM_ENABLE = std::bit_cast<int>(0x8004'0505U);
constexpr auto PWM_PERIOD = std::bit_cast<int>(0x8004'0501U);
constexpr auto PWM_DUTY = std::bit_cast<int>(0x8004'0503U);

enum class device_t { OUTPUT, PWM };

struct open_device_t {
  device_t kind;
  int flags;
  std::shared_ptr<BoardMapping> board;
};

struct open_devices_t {
  std::mutex mutex;                       // guards the rest
  std::map<int, open_device_t> byNumber;  // descriptors of emulated devices
};

open_devices_t& Devices() {
  static open_devices_t& devices = *new open_devices_t;
  return devices;
}

std::optional<open_device_t> FindDevice(int descriptor) {
  open_devices_t& devices = Devices();
  const std::lock_guard guard(devices.mutex);
  const auto found = devices.byNumber.find(descriptor);
  if (found == devices.byNumber.end()) return std::nullopt;
  return found->second;
}

std::optional<device_t> DeviceAt(std::string_view path) {
  if (path == OUTPUT_PATH) return device_t::OUTPUT;
  if (path == PWM_PATH) return device_t::PWM;
  return std::nullopt;
}

// Callers treat descriptor 0 as a failure.
int MoveAboveZero(int descriptor) {
  if (descriptor != 0) return descriptor;
  const int moved = fcntl(descriptor, F_DUPFD_CLOEXEC, 1);
  close(descriptor);
  return moved;
}

// Opens /dev/null for the number, so that no other open file gets the same one.
int OpenEmulated(device_t kind, int flags) {
  auto board = std::make_shared<BoardMapping>(BoardMapping::role_t::USER);
  if (board->Get() == nullptr) {
    errno = ENOENT;
    return -1;
  }
  const int number = MoveAboveZero(open("/dev/null", O_RDWR | O_CLOEXEC));
  if (number < 0) return -1;
  open_devices_t& devices = Devices();
  const std::lock_guard guard(devices.mutex);
  devices.byNumber.insert_or_assign(number, open_device_t{kind, flags, std::move(board)});
  return number;
}

void Count(board_word_t& word) {
  word.fetch_add(1, std::memory_order_relaxed);
}

// Stores a value and counts a change.
void StoreCounted(board_word_t& word, board_word_t& changes, std::uint32_t value) {
  if (word.exchange(value, std::memory_order_relaxed) != value) Count(changes);
}

std::optional<std::uint32_t> ParseBeeperCommand(std::span<const std::uint8_t> command) {
  if (command.size() != OUTPUT_COMMAND_SIZE) return std::nullopt;
  const std::uint32_t value = LoadLe32(command, 4);
  if (LoadLe16(command, 0) != BEEPER_OUTPUT || LoadLe16(command, 2) != 0) return std::nullopt;
  if (value != ON && value != OFF) return std::nullopt;
  return value;
}

ssize_t WriteOutput(board_state_t& board, std::span<const std::uint8_t> command) {
  const auto value = ParseBeeperCommand(command);
  if (!value) {
    Count(board.outputRefused);
    errno = EINVAL;
    return -1;
  }
  Count(board.outputWrites);
  StoreCounted(board.beeperValue, board.beeperChanges, *value);
  return static_cast<ssize_t>(command.size());
}

struct pwm_command_t {
  int command;
  std::size_t bytes;
  board_word_t board_state_t::*word;
};
constexpr std::array<pwm_command_t, 3> PWM_COMMANDS = {{
    {PWM_ENABLE, 0, &board_state_t::pwmEnabled},
    {PWM_PERIOD, 4, &board_state_t::pwmPeriod},
    {PWM_DUTY, 4, &board_state_t::pwmDuty},
}};

int ControlPwm(board_state_t& board, int command, const void* data, std::size_t bytes) {
  for (const pwm_command_t& known : PWM_COMMANDS) {
    if (known.command != command) continue;
    if (bytes != known.bytes || (bytes > 0 && data == nullptr)) {
      Count(board.pwmRefused);
      return EINVAL;
    }
    std::uint32_t value = 1;
    if (bytes > 0) std::memcpy(&value, data, sizeof value);
    Count(board.pwmCommands);
    StoreCounted(board.*known.word, board.pwmChanges, value);
    return 0;
  }
  Count(board.pwmRefused);
  return ENOTTY;
}

bool MayWrite(int flags) {
  return (flags & O_ACCMODE) != O_RDONLY;
}

}  // namespace

int OpenDevice(const char* path, int flags) {
  if (const auto kind = DeviceAt(path)) return OpenEmulated(*kind, flags);
  return MoveAboveZero(open(ResolveUnitPath(path).c_str(), flags | O_CLOEXEC));
}

ssize_t WriteDevice(int descriptor, const void* data, std::size_t bytes) {
  const auto device = FindDevice(descriptor);
  if (!device) return write(descriptor, data, bytes);
  if (!MayWrite(device->flags)) {
    errno = EBADF;
    return -1;
  }
  if (device->kind == device_t::OUTPUT) {
    return WriteOutput(*device->board->Get(), {static_cast<const std::uint8_t*>(data), bytes});
  }
  Count(device->board->Get()->pwmRefused);
  errno = EINVAL;
  return -1;
}

int CloseDevice(int descriptor) {
  {
    open_devices_t& devices = Devices();
    const std::lock_guard guard(devices.mutex);
    devices.byNumber.erase(descriptor);
  }
  return close(descriptor);
}

}  // namespace platform

int devctl(int descriptor, int command, void* data, std::size_t bytes, int* info) {
  if (info != nullptr) *info = 0;
  const auto device = platform::FindDevice(descriptor);
  if (!device) return fcntl(descriptor, F_GETFD) < 0 ? EBADF : ENOTTY;
  if (device->kind != platform::device_t::PWM) return ENOTTY;
  return platform::ControlPwm(*device->board->Get(), command, data, bytes);
}
