// The host's text slots (fields) and the character grid that they are laid out on.
//
// The fields, the grid and the system's own text laid over it are guarded by the record's displayMutex.
// "Locked" below means that the caller holds it; a function marked "locks" takes it itself and must not be
// called with it held.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "src/core/orvik_data.h"

constexpr std::size_t FIELD_COUNT = 31;
constexpr unsigned FIELD_LINE2_CENTER = 20;
constexpr unsigned FIELD_LINE3_CENTER = 23;
constexpr unsigned FIELD_FLASH = 28;
// Characters that a field takes: more than one message carries. What comes beyond is reported and dropped.
constexpr std::size_t MAX_FIELD_TEXT = MAX_MESSAGE_SIZE;

// In the order of their numbers. fieldLast only marks the end; it never holds text.
extern Field_t fieldLCD, fieldOutriggers, fieldJib, fieldCounterweight, fieldPick, fieldSwing, fieldAux,
    fieldWinch;
extern Field_t fieldSelect1A, fieldSelect1B, fieldSelect2A, fieldSelect2B;
extern Field_t fieldSelect3A, fieldSelect3B, fieldSelect4A, fieldSelect4B;
extern Field_t fieldLine1Left, fieldLine1Center, fieldLine1Right, fieldLine2Left, fieldLine2Center,
    fieldLine2Right;
extern Field_t fieldLine3Left, fieldLine3Center, fieldLine3Right, fieldLine4Left, fieldLine4Center,
    fieldLine4Right;
extern Field_t fieldFlash, fieldErected, fieldStowed, fieldLast;

extern const std::array<std::string_view, FIELD_COUNT> FIELD_ID_NAMES;
// Each field with the label that DumpAllFields gives it, in the order of the numbers.
struct FieldEntry_t {
  Field_t* field;
  std::string_view dumpName;
};
extern const std::array<FieldEntry_t, FIELD_COUNT> FIELDS;

// --- Fields.

// Numbers the fields, clears them and forgets a system text. Once at each initialisation. Locked, unless no
// other thread runs yet.
void InitAllFields();
void ClearField(Field_t& field);  // frees the text, keeps the number. Locked.
void ClearAllFields();            // Locked.
// Appends to the field with this number, and dumps it when it is the flash field; a number above 30 is reported
// on standard error and changes nothing. Locked.
void UpdateField(orvikData_t* data, unsigned char fieldId, const std::vector<unsigned>& codepoints);
// Appends to the field's text, after one blank where there is text already, even if nothing follows. Locked.
void AppendField(orvikData_t* data, Field_t& field, const std::vector<unsigned>& codepoints);
// The text as UTF-8. Locked.
std::string FieldToText(const Field_t& field);
// The labels of the stowed and erected indicators, as UTF-8; empty when the host named none. Locks. Dispatcher.
std::string StowedText(orvikData_t* data);
std::string ErectedText(orvikData_t* data);

// --- The grid: lcdRows lines of lcdColumns shown cells, in storage of GRID_LINES lines of LINE_CELLS.

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

// --- The system's own text on the grid.

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

// --- Dumps on standard output. Locked.

void DumpField(const std::string& name, const Field_t& field);
void DumpAllFields();
void DumpUTF8Line(const orvikData_t* data, const UTF8Line_t* line, int n);
void DumpUTF8LineAll(const orvikData_t* data);
