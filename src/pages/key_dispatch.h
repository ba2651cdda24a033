// Every key path: from a front key to its binding on the current page, and from there to the report to the
// host, the page event and the local command.
#pragma once

#include "src/core/orvik_data.h"

constexpr unsigned char KEY_RELEASED = 0;
constexpr unsigned char KEY_PRESSED = 1;

// `event` is KEY_PRESSED or KEY_RELEASED; any other is reported and then treated as neither. Keypad scanner and
// action channel, at the same time if need be.
void DispatchKey(orvikData_t* data, const Page_t* page, const Pkey_t* key, unsigned char event);

// A front key went down (KEY_PRESSED) or up: finds the current page's binding and dispatches it. Keypad scanner
// and action channel, at the same time if need be. What is not found is reported and changes nothing.
void MatrixDispatch(orvikData_t* data, unsigned char platformKey, unsigned char keyEvent);
void DispatchPage(orvikData_t* data, const Page_t* page, unsigned char platformKey, unsigned char keyEvent);
