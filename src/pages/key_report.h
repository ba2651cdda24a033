// Host keys: the report of key presses to the host, and the validity masks that the host sets.
#pragma once

#include <array>

#include "src/core/orvik_data.h"

// The validity mask of a host key.
constexpr std::uint32_t KEY_NOT_VALID = 0;     // a press is neither queued nor reported
constexpr std::uint32_t KEY_NO_BEEP = 1;       // a press is reported without a click
constexpr std::uint32_t KEY_BEEP_ONCE = 0x7F;  // a press is reported with a click

// Reports the press of a host key: queues its code, stores it as the key held, and clicks unless its mask is
// KEY_NO_BEEP. HOST_KEY_NONE clears the key status. A number above HOST_KEY_MAN_BASKET is reported on standard
// error. Key threads, and main once at start-up.
void SetQMT740KeyPressed(orvikData_t* data, int hostKey);

// Clears the key held and both key-report words. Key threads.
void ClearKeyReport(orvikData_t* data);

// The initial host key map: each key has its code and KEY_BEEP_ONCE; the 24th entry is all zero.
extern const std::array<host_key_t, HOST_KEYS> qmt740KeyMap;

// Sets the masks of the first `n` host keys, 24 at most. Parse thread.
void SetValidKeys(orvikData_t* data, const unsigned char* mask, int n);
// Prints the masks of the first `n` host keys in words.
void DumpValidKeys(orvikData_t* data, int n);
