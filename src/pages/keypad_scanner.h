// The keypad scanner: polls and debounces the matrix of front keys and passes each change on to the page
// dispatch.
#pragma once

#include <array>
#include <cstdint>

#include "src/core/orvik_data.h"

namespace KEYPAD {

constexpr int BUTTONS = 9;                                 // eight keys, and keys 5 and 8 together
using button_flags_t = std::array<std::uint8_t, BUTTONS>;  // entry i is button i + 1

// The scanner thread's state.
extern std::uint32_t ScanState;
extern button_flags_t ButtonData;         // seen in the current scan
extern button_flags_t DebounceCountFlag;  // 1 while the button counts as down
extern button_flags_t DepressedButtons;   // 1 while the button is pressed, after debouncing
extern std::uint8_t NewKey;               // key pressed now; 0 none
extern std::uint8_t KeyHeld;              // key last passed to the dispatch; 0 none

// Timer ticks that a press and a release must last.
constexpr std::int32_t PRESS_TICKS = 2;
constexpr std::int32_t RELEASE_TICKS = 6;

// The scan code bits of one column; the index is the row pattern (four bits, active low). Bit 8 + n of the
// port's data register drives column n; its rows are hexadecimal digit n of the scan code.
using column_layout_t = std::array<std::uint16_t, 16>;
extern const column_layout_t keypad_layout, keypad_layout1, keypad_layout2, keypad_layout3;

// Starts the thread "Key Pad Scanner". Returns 0, or the error number of the failed start.
int Init_KeyPad(orvikData_t* data);
// The thread's body; `record` is the orvikData_t. A scan starts every 1.4 ms: 0.4 ms in which the lines of a
// real port settle, and a pause of 1 ms.
void* keyPadScannerThreadFn(void* record);

// Clears the scanner's arrays and the record's debounce counters.
void ResetScanner(orvikData_t* data);
// Scans all columns of the port mapped at `port` and returns the scan code.
std::uint16_t ScanMatrix(std::uintptr_t port);
// Sets the ButtonData flag of the button with this scan code and clears all others.
void FindButton(std::uint16_t scanCode);
// Debounces all buttons with the record's counters and sets NewKey.
void DebounceButtons(orvikData_t* data);
// Passes a change of the pressed key on to the dispatch.
void DispatchChange(orvikData_t* data);

}  // namespace KEYPAD
