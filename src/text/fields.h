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
struct field_entry_t {
  Field_t* field;
  std::string_view dumpName;
};
extern const std::array<field_entry_t, FIELD_COUNT> FIELDS;

// --- Fields.

// Numbers the fields and clears them. Once at each initialisation. Locked, unless no
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

// --- Dumps on standard output. Locked.

void DumpField(const std::string& name, const Field_t& field);
void DumpAllFields();
