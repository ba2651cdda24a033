// What the host learns of the keys: the queue of key codes, the key held now, and the validity that it set
// itself.
#pragma once

#include "src/core/orvik_data.h"

// A host key went down: 0 none, 1 to 22 a host key. A valid key is queued for the host, reported as held, and
// clicks unless its mask says not to; any other number is reported on standard error. Key threads; main once at
// start.
void SetQMT740KeyPressed(orvikData_t* data, int hostKey);

// No host key is held any more, whichever it was.
void ClearKeyReport(orvikData_t* data);
