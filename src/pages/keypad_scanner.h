// The front keys: a polled matrix on the keypad port, debounced, each change handed to the page dispatch.
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
extern button_flags_t DepressedButtons;   // 1 while the button is pressed for good
extern std::uint8_t NewKey;               // found by the current scan; 0 none
extern std::uint8_t KeyHeld;              // last handed to the dispatch; 0 none

// Timer ticks for which a press and a release must stay.
constexpr std::int32_t PRESS_TICKS = 2;
constexpr std::int32_t RELEASE_TICKS = 6;

// Scan code bits for the row pattern (four bits, active low) of columns 0 to 3. Column n is driven by bit 8 + n
// of the port's data register; its rows make up digit n of the scan code.
using layout_t = std::array<std::uint16_t, 16>;
extern const layout_t keypad_layout, keypad_layout1, keypad_layout2, keypad_layout3;

// Starts the thread "Key Pad Scanner"; 0 on success, else an error number.
int Init_KeyPad(orvikData_t* data);
void* keyPadScannerThreadFn(void* record);

// Clears the arrays above and the record's counters.
void ResetScanner(orvikData_t* data);
// One full scan of the port mapped at `port`: the scan code.
std::uint16_t ScanMatrix(std::uintptr_t port);
// Sets the flag of the one button whose code it is, if any.
void FindButton(std::uint16_t scanCode);
// One debounce step of all buttons against the record's counters.
void DebounceButtons(orvikData_t* data);
// Hands a change of the pressed key to the dispatch.
void DispatchChange(orvikData_t* data);

}  // namespace KEYPAD
