// The character grid, on which the fields are laid out. The grid stores GRID_LINES lines of LINE_CELLS cells;
// the first lcdRows lines and the first lcdColumns cells of each are shown.
//
// The record's displayMutex guards the grid. "Locked" marks a function whose caller holds the mutex.
#pragma once

#include "src/core/orvik_data.h"

enum justification_t : int { JUSTIFY_LEFT = 0, JUSTIFY_CENTER = 1, JUSTIFY_RIGHT = 2 };

// Writes the field's text over the line's cells. A text longer than the line is reported on standard error and
// written whole from column 0, through the line's hidden cells and into the next lines. Text past the last line
// of the grid (past this line, when it is outside the grid) is dropped. Locked.
void FieldToUTF8Line(orvikData_t* data, const Field_t& field, UTF8Line_t* line, int justification);
// Rebuilds the grid from all fields. A later field overwrites an earlier one; the LCD field is written last.
// Locked.
void FieldsToUTF8Lines(orvikData_t* data);
void InitializeUTF8Display(orvikData_t* data);                             // fills with spaceChar. Locked.
void ClearUTF8Display(orvikData_t* data, unsigned int ch);                 // Locked.
void ClearUTF8Line(orvikData_t* data, UTF8Line_t* line, unsigned int ch);  // Locked, for a line of the grid.
bool SameUTF8Char(const UTF8Char_t* a, const UTF8Char_t* b);
// Whether the shown cells are equal. Locked, for a line of the grid.
bool SameUTF8Line(const orvikData_t* data, const UTF8Line_t* a, const UTF8Line_t* b);

// Print the code points of the shown cells on standard output. Locked.
void DumpUTF8Line(const orvikData_t* data, const UTF8Line_t* line, int n);
void DumpUTF8LineAll(const orvikData_t* data);
