// The end of every key path: the report to the host, the page event and the local command of a binding.
#pragma once

#include "src/core/orvik_data.h"

// `event` is KEY_PRESSED or KEY_RELEASED; any other is reported and then treated as neither. Keypad scanner and
// action channel, at the same time if need be.
void DispatchKey(orvikData_t* data, const Page_t* page, const Pkey_t* key, unsigned char event);
