// The start-up drawing.
#pragma once

#include "src/core/orvik_data.h"

// Makes the drawing layer and the screen client, blanks the widgets on the first call of the process, clears
// the fields and shows the start-up text. Called at each initialisation.
void InitDisplay(orvikData_t* data);
