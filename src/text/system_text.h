// The system's own text on the grid: the start-up text and the lost link, laid over the host's texts.
//
// "Locked" means that the caller holds the record's displayMutex; a function marked "locks" takes it itself and
// must not be called with it held.
#pragma once

#include <string>

#include "src/core/orvik_data.h"

// Replaces all fields by this one text (UTF-8) and rebuilds the grid. Locks.
void StringToUTF8Display(orvikData_t* data, const std::string& text, unsigned char fieldId);
// Lays a text of the system over the grid, centred on line 2, its rest on line 3 when it is longer than a line.
// The host's texts are put aside on the first call and come back with EndSystemText, unless the host has sent
// new ones in between: these end the system text at once. Locks.
void ShowSystemText(orvikData_t* data, const std::string& text);
void EndSystemText(orvikData_t* data);
// Any thread, without the lock.
bool SystemTextShown();
// The host's texts have just replaced all fields. Locked.
void HostTextArrived(orvikData_t* data);
// The fields start anew: nothing is shown over them and nothing kept. Locked.
void ForgetSystemText();
