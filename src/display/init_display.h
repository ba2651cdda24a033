// The initialisation of the display.
#pragma once

#include "src/core/orvik_data.h"

// Creates the drawing layer and the screen client, clears the fields and shows the start-up text. The first
// call in a process also blanks the widgets and reads the picture sizes. Called by InitOrvikData, under its
// lock.
void InitDisplay(orvikData_t* data);
