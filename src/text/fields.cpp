#include "src/text/fields.h"

#include <algorithm>
#include <iterator>
#include <span>

#include <utf8.h>

#include "src/core/console.h"
#include "src/core/sharing.h"
#include "src/text/utf8_text.h"

Field_t fieldLCD, fieldOutriggers, fieldJib, fieldCounterweight, fieldPick, fieldSwing, fieldAux, fieldWinch;
Field_t fieldSelect1A, fieldSelect1B, fieldSelect2A, fieldSelect2B;
Field_t fieldSelect3A, fieldSelect3B, fieldSelect4A, fieldSelect4B;
Field_t fieldLine1Left, fieldLine1Center, fieldLine1Right, fieldLine2Left, fieldLine2Center, fieldLine2Right;
Field_t fieldLine3Left, fieldLine3Center, fieldLine3Right, fieldLine4Left, fieldLine4Center, fieldLine4Right;
Field_t fieldFlash, fieldErected, fieldStowed, fieldLast;

constexpr std::array<std::string_view, FIELD_COUNT> FIELD_ID_NAMES = {
    "FIELD_ID_LCD",           "FIELD_ID_OUTRIGGERS",    "FIELD_ID_JIB",           "FIELD_ID_COUNTERWEIGHT",
    "FIELD_ID_PICKPOINT",     "FIELD_ID_SWING",         "FIELD_ID_AUX",           "FIELD_ID_WINCH",
    "FIELD_ID_SELECT1_LINEA", "FIELD_ID_SELECT1_LINEB", "FIELD_ID_SELECT2_LINEA", "FIELD_ID_SELECT2_LINEB",
    "FIELD_ID_SELECT3_LINEA", "FIELD_ID_SELECT3_LINEB", "FIELD_ID_SELECT4_LINEA", "FIELD_ID_SELECT4_LINEB",
    "FIELD_ID_LINE1_LEFT",    "FIELD_ID_LINE1_CENTER",  "FIELD_ID_LINE1_RIGHT",   "FIELD_ID_LINE2_LEFT",
    "FIELD_ID_LINE2_CENTER",  "FIELD_ID_LINE2_RIGHT",   "FIELD_ID_LINE3_LEFT",    "FIELD_ID_LINE3_CENTER",
    "FIELD_ID_LINE3_RIGHT",   "FIELD_ID_LINE4_LEFT",    "FIELD_ID_LINE4_CENTER",  "FIELD_ID_LINE4_RIGHT",
    "FIELD_ID_FLASH_MSG",     "FIELD_ID_ERECTED",       "FIELD_ID_STOWED"};

constexpr std::array<field_entry_t, FIELD_COUNT> FIELDS = {{
    {&fieldLCD, "LCD"},
    {&fieldOutriggers, "Outriggers"},
    {&fieldJib, "Jib"},
    {&fieldCounterweight, "Counterweight"},
    {&fieldPick, "Pick"},
    {&fieldSwing, "Swing"},
    {&fieldAux, "Aux"},
    {&fieldWinch, "Winch"},
    {&fieldSelect1A, "Select1A"},
    {&fieldSelect1B, "Select1B"},
    {&fieldSelect2A, "Select2A"},
    {&fieldSelect2B, "Select2B"},
    {&fieldSelect3A, "Select3A"},
    {&fieldSelect3B, "Select3B"},
    {&fieldSelect4A, "Select4A"},
    {&fieldSelect4B, "Select4B"},
    {&fieldLine1Left, "Line1Left"},
    {&fieldLine1Center, "Line1Center"},
    {&fieldLine1Right, "Line1Right"},
    {&fieldLine2Left, "Line2Left"},
    {&fieldLine2Center, "Line2Center"},
    {&fieldLine2Right, "Line2Right"},
    {&fieldLine3Left, "Line3Left"},
    {&fieldLine3Center, "Line3Center"},
    {&fieldLine3Right, "Line3Right"},
    {&fieldLine4Left, "Line4Left"},
    {&fieldLine4Center, "Line4Center"},
    {&fieldLine4Right, "Line4Right"},
    {&fieldFlash, "Flash"},
    {&fieldErected, "Erected"},
    {&fieldStowed, "Stowed"},
}};

namespace {

// Reports and dumps use only the low byte of a field's number.
unsigned FieldNumber(const Field_t& field) {
  return field.fid & 0xFFU;
}

void ReportDropped(const Field_t& field, std::size_t size) {
  const unsigned number = FieldNumber(field);
  const std::string_view name = number < FIELD_COUNT ? FIELD_ID_NAMES[number] : "FIELD_ID_LAST";
  PrintErr("Orvik: ERROR!  Field overflow.  " + std::string(name) + ", size=" + std::to_string(size) +
           ", max=" + std::to_string(MAX_FIELD_TEXT));
}

void AppendCodePoints(Field_t& field, std::span<const unsigned> codepoints) {
  const std::size_t fits = std::min(codepoints.size(), MAX_FIELD_TEXT - field.text.size());
  field.text.insert(field.text.end(), codepoints.begin(),
                    codepoints.begin() + static_cast<std::ptrdiff_t>(fits));
  if (fits < codepoints.size()) ReportDropped(field, field.text.size() + codepoints.size() - fits);
}

void AppendUTF8(std::string& text, unsigned codePoint) {
  try {
    utf8::append(codePoint, std::back_inserter(text));
  } catch (const utf8::invalid_code_point&) {
    text.append(FULLWIDTH_QUESTION_MARK_OCTET);
  }
}

void WriteText(const Field_t& field, std::string& text) {
  text.clear();
  for (const unsigned codePoint : field.text) AppendUTF8(text, codePoint);
}

bool IsPrintable(unsigned octet) {
  return octet >= 0x20 && octet <= 0x7E;
}

}  // namespace

void InitAllFields() {
  for (unsigned fid = 0; fid < FIELD_COUNT; ++fid) FIELDS[fid].field->fid = fid;
  fieldLast.fid = FIELD_COUNT;
  ClearAllFields();
}

void ClearField(Field_t& field) {
  std::vector<unsigned>().swap(field.text);
}

void ClearAllFields() {
  for (const field_entry_t& entry : FIELDS) ClearField(*entry.field);
}

void UpdateField(orvikData_t* data, unsigned char fieldId, const std::vector<unsigned>& codepoints) {
  if (fieldId >= FIELD_COUNT) {
    PrintErr("Orvik: ERROR!  Unknown Field ID " + std::to_string(fieldId));
    return;
  }
  AppendField(data, *FIELDS[fieldId].field, codepoints);
  if (fieldId == FIELD_FLASH) DumpField("Flash", fieldFlash);
}

void AppendField(orvikData_t* data, Field_t& field, const std::vector<unsigned>& codepoints) {
  if (!field.text.empty()) {
    const unsigned blank = data->spaceChar;
    AppendCodePoints(field, {&blank, 1});
  }
  AppendCodePoints(field, codepoints);
}

std::string FieldToText(const Field_t& field) {
  std::string text;
  WriteText(field, text);
  return text;
}

std::string StowedText(orvikData_t* data) {
  std::string text;
  WriteStowedText(data, text);
  return text;
}
std::string ErectedText(orvikData_t* data) {
  std::string text;
  WriteErectedText(data, text);
  return text;
}

void WriteStowedText(orvikData_t* data, std::string& text) {
  const MutexGuard guard(data->displayMutex);
  WriteText(fieldStowed, text);
}
void WriteErectedText(orvikData_t* data, std::string& text) {
  const MutexGuard guard(data->displayMutex);
  WriteText(fieldErected, text);
}

void DumpField(const std::string& name, const Field_t& field) {
  PrintOut(name + ", fid=" + std::to_string(FieldNumber(field)) +
           ", size=" + std::to_string(field.text.size()));
  if (field.text.empty()) return;
  std::string line = "    '";
  for (const unsigned codePoint : field.text) {
    // Only the low byte counts, so that U+0441 is dumped as "A". The dump is meant for ASCII texts.
    const unsigned octet = codePoint & 0xFFU;
    if (IsPrintable(octet)) {
      line.push_back(static_cast<char>(octet));
    } else {
      line.append("0x").append(HexText(codePoint, 4)).append(", ");
    }
  }
  PrintOut(line + "'");
}

void DumpAllFields() {
  PrintOut("DAF - START");
  for (const field_entry_t& entry : FIELDS) DumpField(std::string(entry.dumpName), *entry.field);
  PrintOut("DAF - END");
}
