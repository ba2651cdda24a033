// The system's own text on the grid (start-up text, lost link), shown in place of the host's texts.
//
// "Locked" marks a function whose caller holds the record's displayMutex; "Locks" marks one that takes it and
// must not be called with it held.
#pragma once

#include <string>

#include "src/core/orvik_data.h"

// Clears all fields, writes this text (UTF-8) to one field and rebuilds the grid. Locks.
void StringToUTF8Display(orvikData_t* data, const std::string& text, unsigned char fieldId);
// Shows a system text centred on line 2; the rest of a text longer than a line goes to line 3. The first call
// keeps the host's texts, and EndSystemText restores them. New host texts in between end the system text, and
// the kept texts are dropped. Locks.
void ShowSystemText(orvikData_t* data, const std::string& text);
void EndSystemText(orvikData_t* data);
// Whether a system text is shown. Any thread, without the lock.
bool SystemTextShown();
// Called when new host texts have replaced all fields: ends the system text. Locked.
void HostTextArrived(orvikData_t* data);
// Ends the system text and drops the kept texts. Called when the fields are initialised. Locked.
void ForgetSystemText();
