// The text fields of the host: 31 numbered slots whose texts are laid out on the character grid (grid.h).
//
// The record's displayMutex guards the fields. "Locked" marks a function whose caller holds the mutex; "Locks"
// marks one that takes it and must not be called with it held.
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
// The most characters that a field holds, more than one message carries. Further characters are reported and
// dropped.
constexpr std::size_t MAX_FIELD_TEXT = MAX_MESSAGE_SIZE;

// In the order of their numbers. fieldLast marks the end and never holds text.
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
// Each field with its label in DumpAllFields, in the order of the numbers.
struct field_entry_t {
  Field_t* field;
  std::string_view dumpName;
};
extern const std::array<field_entry_t, FIELD_COUNT> FIELDS;

// --- Fields.

// Numbers the fields and clears them. Called at each initialisation. Locked, or before other threads run.
void InitAllFields();
void ClearField(Field_t& field);  // releases the text, keeps the number. Locked.
void ClearAllFields();            // Locked.
// Appends text to the field with this number, and dumps the field when it is FIELD_FLASH. A number above 30 is
// reported on standard error and changes nothing. Locked.
void UpdateField(orvikData_t* data, unsigned char fieldId, const std::vector<unsigned>& codepoints);
// Appends to the field's text. A field that is not empty gets one blank first, even if `codepoints` is empty.
// Locked.
void AppendField(orvikData_t* data, Field_t& field, const std::vector<unsigned>& codepoints);
// The field's text as UTF-8. Locked.
std::string FieldToText(const Field_t& field);
// The labels of the stowed and erected indicators as UTF-8; empty while the host has sent none. Locks.
// Dispatcher.
std::string StowedText(orvikData_t* data);
std::string ErectedText(orvikData_t* data);
// The same into a text whose storage stays, for the pages that look at the labels every 10 ms.
void WriteStowedText(orvikData_t* data, std::string& text);
void WriteErectedText(orvikData_t* data, std::string& text);

// --- Dumps on standard output. Locked.

void DumpField(const std::string& name, const Field_t& field);
void DumpAllFields();
