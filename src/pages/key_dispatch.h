// The path of a key: from a front key to its binding on the current page, and from the binding to the report to
// the host, the page event and the local command.
//
// The keypad scanner and the action channel call these functions, possibly at the same time.
#pragma once

#include "src/core/orvik_data.h"

constexpr unsigned char KEY_RELEASED = 0;
constexpr unsigned char KEY_PRESSED = 1;

// Runs a key binding. `event` is KEY_PRESSED or KEY_RELEASED. Any other event of a host key is reported; its
// page event and command follow all the same.
void DispatchKey(orvikData_t* data, const Page_t* page, const Pkey_t* key, unsigned char event);

// Find the current page, and the page's binding of the key, and pass the event on. A page or binding that does
// not exist is reported and nothing else happens.
void MatrixDispatch(orvikData_t* data, unsigned char platformKey, unsigned char keyEvent);
void DispatchPage(orvikData_t* data, const Page_t* page, unsigned char platformKey, unsigned char keyEvent);
