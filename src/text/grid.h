// The character grid: the fields laid out on lines of cells, lcdRows lines of lcdColumns shown cells, in
// storage of GRID_LINES lines of LINE_CELLS.
//
// "Locked" means that the caller holds the record's displayMutex; a function marked "locks" takes it itself and
// must not be called with it held.
#pragma once

#include "src/core/orvik_data.h"

enum justification_t : int { JUSTIFY_LEFT = 0, JUSTIFY_CENTER = 1, JUSTIFY_RIGHT = 2 };

// Writes the field's text over the line's cells. A text longer than the line is reported on standard error and
// written whole from column 0: on through the line's hidden cells and into the next lines. What would stand
// behind the last line (behind this line, when it is not one of the grid's) is dropped. Locked.
void FieldToUTF8Line(orvikData_t* data, const Field_t& field, UTF8Line_t* line, int justification);
// Rebuilds the whole grid from all fields; later fields win over earlier ones, the LCD field over all. Locked.
void FieldsToUTF8Lines(orvikData_t* data);
void InitializeUTF8Display(orvikData_t* data);                             // fills with spaceChar. Locked.
void ClearUTF8Display(orvikData_t* data, unsigned int ch);                 // Locked.
void ClearUTF8Line(orvikData_t* data, UTF8Line_t* line, unsigned int ch);  // Locked, for a line of the grid.
bool SameUTF8Char(const UTF8Char_t* a, const UTF8Char_t* b);
// Whether the shown cells are equal; true when no cell is shown. Locked, for a line of the grid.
bool SameUTF8Line(const orvikData_t* data, const UTF8Line_t* a, const UTF8Line_t* b);

// Dumps on standard output. Locked.
void DumpUTF8Line(const orvikData_t* data, const UTF8Line_t* line, int n);
void DumpUTF8LineAll(const orvikData_t* data);
