#include "src/pages/keypad_scanner.h"

#include <chrono>
#include <cstdio>
#include <thread>

#include "platform/device_io.h"

#include "src/core/console.h"
#include "src/core/worker.h"
#include "src/pages/key_dispatch.h"
#include "src/pages/page_tables.h"

namespace KEYPAD {

std::uint32_t ScanState = 0;
button_flags_t ButtonData{};
button_flags_t DebounceCountFlag{};
button_flags_t DepressedButtons{};
std::uint8_t NewKey = 0;
std::uint8_t KeyHeld = 0;

namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;

constexpr std::uint64_t PAD_ADDRESS = 0x43FAC060;
constexpr std::size_t PAD_SIZE = 16;
constexpr std::uint32_t PAD_SETTING = 0x12121212;

constexpr std::uint64_t PORT_ADDRESS = 0x43FA8000;
constexpr std::size_t PORT_SIZE = 8;
constexpr std::size_t CONTROL = 0;
constexpr std::size_t STATUS = 2;
constexpr std::size_t DIRECTION = 4;
constexpr std::size_t DATA = 6;

constexpr std::uint16_t ROWS = 0x000F;
constexpr std::uint16_t COLUMNS = 0x0F00;

// One column low at a time, the highest first.
struct strobe_t {
  std::uint16_t data;
  const column_layout_t* layout;
};
constexpr strobe_t STROBES[] = {
    {0xF7FF, &keypad_layout3}, {0xFBFF, &keypad_layout2}, {0xFDFF, &keypad_layout1}, {0xFEFF, &keypad_layout}};

// A scan with its pause takes as long whether its lines need time to settle or not.
constexpr microseconds LONGEST_SETTLE_TIME{50};
constexpr microseconds SCAN_PAUSE =
    milliseconds{1} + 2 * std::size(STROBES) * (LONGEST_SETTLE_TIME - platform::PORT_SETTLE_TIME);

// The scan codes that count as a button; the last one is keys 5 and 8 together.
constexpr std::array<std::uint16_t, BUTTONS> SCAN_CODES = {0x0001, 0x0002, 0x0004, 0x0008, 0x0010,
                                                           0x0020, 0x1000, 0x2000, 0x2010};

constexpr column_layout_t LayoutOf(unsigned column) {
  column_layout_t layout{};
  for (unsigned rows = 0; rows <= ROWS; ++rows) {
    layout[rows] = static_cast<std::uint16_t>((~rows & ROWS) << (4 * column));
  }
  return layout;
}

void SetUpPads() {
  const std::uintptr_t pads = mmap_device_io(PAD_SIZE, PAD_ADDRESS);
  if (pads == MAP_DEVICE_FAILED) return;
  out32(pads + 4, PAD_SETTING);
  out32(pads + 12, PAD_SETTING);
}

std::uintptr_t SetUpPort() {
  const std::uintptr_t port = mmap_device_io(PORT_SIZE, PORT_ADDRESS);
  if (port == MAP_DEVICE_FAILED) {
    PrintErr("Orvik: ERROR!  Unable to map the keypad port");
    return port;
  }
  out16(port + CONTROL, ROWS);
  out16(port + CONTROL, COLUMNS | ROWS);
  out16(port + DATA, 0);
  out16(port + DIRECTION, COLUMNS);
  out16(port + STATUS, 0);
  return port;
}

// Without I/O privilege the hardware is not touched, and no key is seen.
std::uintptr_t SetUpHardware() {
  if (ThreadCtl(_NTO_TCTL_IO, nullptr) == -1) {
    std::perror("ThreadCtl");
    return MAP_DEVICE_FAILED;
  }
  SetUpPads();
  return SetUpPort();
}

void LetLinesSettle() {
  if constexpr (platform::PORT_SETTLE_TIME.count() > 0) {
    std::this_thread::sleep_for(platform::PORT_SETTLE_TIME);
  }
}

std::uint16_t ReadColumn(std::uintptr_t port, const strobe_t& strobe) {
  LetLinesSettle();
  out16(port + DATA, strobe.data);
  LetLinesSettle();
  const std::uint16_t rows = in16(port + DATA) & ROWS;
  return rows == ROWS ? std::uint16_t{0} : (*strobe.layout)[rows];
}

void DebounceButton(std::size_t button, PlainWord<std::int32_t>& counter) {
  const bool seen = ButtonData[button] != 0;
  const bool down = DebounceCountFlag[button] != 0;
  if (seen != down) {
    DebounceCountFlag[button] = seen ? 1 : 0;
    counter = seen ? PRESS_TICKS : RELEASE_TICKS;
  } else if (counter == 0) {
    DepressedButtons[button] = seen ? 1 : 0;
  }
}

std::uint8_t FindHighestPressed() {
  for (std::uint8_t key = BUTTONS; key > 0; --key) {
    if (DepressedButtons[key - 1U] != 0) return key;
  }
  return 0;
}

constexpr worker_t SCANNER = {.slot = THREAD_KEYPAD,
                              .name = "Key Pad Scanner",
                              .readyLine = "Orvik: Key scanner initialization complete",
                              .exitLine = "Orvik: Keypad scanner thread EXIT",
                              .pace = SCAN_PAUSE};

class ScanTask : public WorkerTask {
 public:
  explicit ScanTask(orvikData_t* data) : data_(data), port_(SetUpHardware()) { ResetScanner(data); }
  bool Step() override {
    FindButton(port_ == MAP_DEVICE_FAILED ? std::uint16_t{0} : ScanMatrix(port_));
    DebounceButtons(data_);
    DispatchChange(data_);
    return true;
  }

 private:
  orvikData_t* data_;
  std::uintptr_t port_;
};

}  // namespace

const column_layout_t keypad_layout = LayoutOf(0);
const column_layout_t keypad_layout1 = LayoutOf(1);
const column_layout_t keypad_layout2 = LayoutOf(2);
const column_layout_t keypad_layout3 = LayoutOf(3);

void ResetScanner(orvikData_t* data) {
  ScanState = 0;
  for (PlainWord<std::int32_t>& counter : data->countdown) counter = 0;
  ButtonData = {};
  DebounceCountFlag = {};
  DepressedButtons = {};
}

std::uint16_t ScanMatrix(std::uintptr_t port) {
  std::uint16_t scanCode = 0;
  for (const strobe_t& strobe : STROBES) scanCode |= ReadColumn(port, strobe);
  out16(port + DATA, COLUMNS);
  return scanCode;
}

void FindButton(std::uint16_t scanCode) {
  for (std::size_t i = 0; i < BUTTONS; ++i) ButtonData[i] = SCAN_CODES[i] == scanCode ? 1 : 0;
}

void DebounceButtons(orvikData_t* data) {
  for (std::size_t i = 0; i < BUTTONS; ++i) DebounceButton(i, data->countdown[i]);
  NewKey = FindHighestPressed();
}

void DispatchChange(orvikData_t* data) {
  if (NewKey == KeyHeld) return;
  // A change from one key to another is dispatched as a press alone.
  if (NewKey != 0) {
    MatrixDispatch(data, NewKey, KEY_PRESSED);
  } else {
    MatrixDispatch(data, KeyHeld, KEY_RELEASED);
  }
  KeyHeld = NewKey;
}

void* keyPadScannerThreadFn(void* record) {
  return RunWorker<ScanTask>(SCANNER, record);
}

int Init_KeyPad(orvikData_t* data) {
  return StartWorker(SCANNER, keyPadScannerThreadFn, data);
}

}  // namespace KEYPAD
