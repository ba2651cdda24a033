// The operating page: the host's four text lines and the value widgets on Main, Wad, Slate and the brightness
// pop-up; and the labels of the configuration page.
//
// All functions run on the dispatcher thread. A widget is sent a text only when it differs from the last text
// sent to it. The last texts are kept for the whole process; an initialisation of the record does not clear
// them.
#pragma once

#include "src/core/orvik_data.h"

// Updates all widgets of the operating page.
void UpdatePageOperating(orvikData_t* data);
// Updates the configuration page's labels and flash message.
void UpdatePageConfig(orvikData_t* data);
// The dials page: its numbers are the texts of the operating page's value widgets, so that the pages never
// contradict each other; then the pictures of boom and swing.
void UpdatePageDials(orvikData_t* data);

// Sends the grid's lines to the Std widgets, or to the Wide widgets in the full-width language, and blanks the
// other set once.
void DisplayLines(orvikData_t* data);
void DisplayErected(orvikData_t* data);
void DisplayStowed(orvikData_t* data);
