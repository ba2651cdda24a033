// The operating page: the host's four text lines and the value widgets, on Main, Wad, Slate and the brightness
// pop-up.
//
// All functions run on the dispatcher thread. A widget is sent a text only when it differs from the last one
// sent to it; that memory lasts for the life of the process, whatever becomes of the record.
#pragma once

#include "src/core/orvik_data.h"

void UpdatePageOperating(orvikData_t* data);
// The configuration page's labels and flash message.
void UpdatePageConfig(orvikData_t* data);
// The dials page: its numbers are the texts of the operating page's value widgets, so that the pages never
// contradict each other; then the pictures of boom and swing.
void UpdatePageDials(orvikData_t* data);

// The grid's lines, to the Std widgets or, in the full-width language, the Wide ones; the other set is blanked
// once.
void DisplayLines(orvikData_t* data);
void DisplayErected(orvikData_t* data);
void DisplayStowed(orvikData_t* data);
