// Page changes that the host asks for.
#pragma once

#include "core/orvik_data.h"

// Request 0 to 7 of the host's transition command: prints it and posts its event when the current page is the
// one that it starts from. Request 2 has no transition and counts as undefined, like any other number. Parse
// thread.
void SetDisplayTransition(orvikData_t* data, int request);

// Select mode brings the page with the select keys to the front (Main to Wad), and its end leads back (Wad to
// Main); on every other page only the flag is stored. Parse thread.
void SetSelectMode(orvikData_t* data, bool on);
