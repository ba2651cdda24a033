#include "src/text/system_text.h"

#include <algorithm>

#include "src/core/sharing.h"
#include "src/text/expand.h"
#include "src/text/fields.h"
#include "src/text/grid.h"
#include "src/text/utf8_text.h"

namespace {

PlainWord<int> systemTextShown;                             // written with displayMutex held
std::array<std::vector<unsigned>, FIELD_COUNT> keptFields;  // guarded by displayMutex

void KeepFields() {
  for (std::size_t i = 0; i < FIELD_COUNT; ++i) keptFields[i] = std::move(FIELDS[i].field->text);
}

void RestoreFields() {
  for (std::size_t i = 0; i < FIELD_COUNT; ++i) FIELDS[i].field->text = std::move(keptFields[i]);
}

std::vector<unsigned> ExpandText(orvikData_t* data, std::string text) {
  FixUTF8String(text);
  std::vector<unsigned> codepoints;
  ExpandSubCommand(data, text, codepoints);
  return codepoints;
}

bool IsBlankCodePoint(const orvikData_t* data, unsigned codePoint) {
  return codePoint == ' ' || codePoint == data->blankChar || codePoint == data->spaceChar;
}

// Cuts `text` to at most `columns` characters, at the last blank if there is one, and returns the rest.
std::vector<unsigned> TakeRest(const orvikData_t* data, std::vector<unsigned>& text, std::size_t columns) {
  if (text.size() <= columns) return {};
  std::size_t cut = columns;
  while (cut > 0 && !IsBlankCodePoint(data, text[cut])) --cut;
  const bool atBlank = cut > 0;
  if (!atBlank) cut = columns;
  const auto from = text.begin() + static_cast<std::ptrdiff_t>(atBlank ? cut + 1 : cut);
  std::vector<unsigned> rest(from, text.end());
  text.resize(cut);
  return rest;
}

}  // namespace

void StringToUTF8Display(orvikData_t* data, const std::string& text, unsigned char fieldId) {
  const std::vector<unsigned> codepoints = ExpandText(data, text);
  const MutexGuard guard(data->displayMutex);
  ClearAllFields();
  UpdateField(data, fieldId, codepoints);
  FieldsToUTF8Lines(data);
}

void ShowSystemText(orvikData_t* data, const std::string& text) {
  std::vector<unsigned> first = ExpandText(data, text);
  const auto columns = static_cast<std::size_t>(std::max<int>(data->lcdColumns, 1));
  const std::vector<unsigned> second = TakeRest(data, first, columns);

  const MutexGuard guard(data->displayMutex);
  if (systemTextShown == 0) KeepFields();
  systemTextShown = 1;
  ClearAllFields();
  UpdateField(data, FIELD_LINE2_CENTER, first);
  UpdateField(data, FIELD_LINE3_CENTER, second);
  FieldsToUTF8Lines(data);
}

void EndSystemText(orvikData_t* data) {
  const MutexGuard guard(data->displayMutex);
  if (systemTextShown == 0) return;
  systemTextShown = 0;
  RestoreFields();
  FieldsToUTF8Lines(data);
}

bool SystemTextShown() {
  return systemTextShown != 0;
}

void HostTextArrived(orvikData_t* /*data*/) {
  if (systemTextShown != 0) ForgetSystemText();
}

void ForgetSystemText() {
  systemTextShown = 0;
  for (std::vector<unsigned>& text : keptFields) std::vector<unsigned>().swap(text);
}
