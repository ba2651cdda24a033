// What the host learns of the keys: the queue of key codes, the key held now, and the validity that it set
// itself.
#pragma once

#include <array>

#include "src/core/orvik_data.h"

// What SetValidKeys stores for a host key, and what follows for a press of it.
constexpr std::uint32_t KEY_NOT_VALID = 0;     // nothing: not queued, not reported
constexpr std::uint32_t KEY_NO_BEEP = 1;       // reported in silence
constexpr std::uint32_t KEY_BEEP_ONCE = 0x7F;  // reported with a click

// A host key went down: 0 none, 1 to 22 a host key. A valid key is queued for the host, reported as held, and
// clicks unless its mask says not to; any other number is reported on standard error. Key threads; main once at
// start.
void SetQMT740KeyPressed(orvikData_t* data, int hostKey);

// No host key is held any more, whichever it was.
void ClearKeyReport(orvikData_t* data);

// The host key map's initial state: every key known by its code, valid, with a beep; the 24th entry all zero.
extern const std::array<host_key_t, HOST_KEYS> qmt740KeyMap;

// Host command: sets the masks of the first `n` (24 at most; more are ignored) host keys. Parse thread.
void SetValidKeys(orvikData_t* data, const unsigned char* mask, int n);
// Prints the masks of the first `n` host keys in words.
void DumpValidKeys(orvikData_t* data, int n);
