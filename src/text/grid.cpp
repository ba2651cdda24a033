#include "src/text/grid.h"

#include <algorithm>
#include <functional>

#include "src/core/console.h"
#include "src/text/fields.h"

namespace {

// The place of each field, in the order of writing. Line 4 differs from the others: it has no first left field,
// and the counterweight is its first right field.
struct placement_t {
  const Field_t* field;
  std::size_t line;
  justification_t justification;
};
constexpr std::array<placement_t, 27> LAYOUT = {{
    {&fieldOutriggers, 0, JUSTIFY_LEFT},    {&fieldSelect1A, 0, JUSTIFY_LEFT},
    {&fieldLine1Left, 0, JUSTIFY_LEFT},     {&fieldLine1Center, 0, JUSTIFY_CENTER},
    {&fieldSwing, 0, JUSTIFY_RIGHT},        {&fieldSelect3A, 0, JUSTIFY_RIGHT},
    {&fieldLine1Right, 0, JUSTIFY_RIGHT},

    {&fieldJib, 1, JUSTIFY_LEFT},           {&fieldSelect1B, 1, JUSTIFY_LEFT},
    {&fieldLine2Left, 1, JUSTIFY_LEFT},     {&fieldLine2Center, 1, JUSTIFY_CENTER},
    {&fieldAux, 1, JUSTIFY_RIGHT},          {&fieldSelect3B, 1, JUSTIFY_RIGHT},
    {&fieldLine2Right, 1, JUSTIFY_RIGHT},

    {&fieldPick, 2, JUSTIFY_LEFT},          {&fieldSelect2A, 2, JUSTIFY_LEFT},
    {&fieldLine3Left, 2, JUSTIFY_LEFT},     {&fieldLine3Center, 2, JUSTIFY_CENTER},
    {&fieldWinch, 2, JUSTIFY_RIGHT},        {&fieldSelect4A, 2, JUSTIFY_RIGHT},
    {&fieldLine3Right, 2, JUSTIFY_RIGHT},

    {&fieldSelect2B, 3, JUSTIFY_LEFT},      {&fieldLine4Left, 3, JUSTIFY_LEFT},
    {&fieldLine4Center, 3, JUSTIFY_CENTER}, {&fieldCounterweight, 3, JUSTIFY_RIGHT},
    {&fieldSelect4B, 3, JUSTIFY_RIGHT},     {&fieldLine4Right, 3, JUSTIFY_RIGHT},
}};

// Reports of a text that is longer than its line; the index is the justification.
constexpr std::array<std::string_view, 3> TOO_LONG = {"Orvik: WARNING!  Left justification truncation",
                                                      "Orvik: ERROR!  Center justification error",
                                                      "Orvik: ERROR!  Right justification error"};

std::size_t Bounded(int count, std::size_t most) {
  return std::min(static_cast<std::size_t>(std::max(count, 0)), most);
}

std::size_t ShownColumns(const orvikData_t* data) {
  return Bounded(data->lcdColumns, LINE_CELLS);
}
std::size_t ShownLines(const orvikData_t* data) {
  return Bounded(data->lcdRows, GRID_LINES);
}

// Number of lines from this one to the end of the grid; 1 for a line outside the grid.
std::size_t LinesFrom(const orvikData_t* data, const UTF8Line_t* line) {
  const UTF8Line_t* begin = data->utf8Display.data();
  const UTF8Line_t* end = begin + data->utf8Display.size();
  const bool inGrid = !std::less<>()(line, begin) && std::less<>()(line, end);
  return inGrid ? static_cast<std::size_t>(end - line) : 1;
}

// The start column of a text of n cells; 0 when it is longer than the line.
int StartColumn(int justification, int n, int columns) {
  if (n > columns || justification == JUSTIFY_LEFT) return 0;
  return justification == JUSTIFY_CENTER ? (columns - n) / 2 : columns - n;
}

void ReportTooLong(int justification, int n, int columns) {
  PrintErr(std::string(TOO_LONG[static_cast<std::size_t>(justification)]) + ", field length of " +
           std::to_string(n) + " exceeds maximum length of " + std::to_string(columns));
}

// The LCD field fills the grid line by line.
void LayLCDField(orvikData_t* data) {
  const std::size_t columns = ShownColumns(data);
  const std::size_t cells = std::min(columns * ShownLines(data), fieldLCD.text.size());
  for (std::size_t i = 0; i < cells; ++i) {
    data->utf8Display[i / columns].cells[i % columns].codePoint = fieldLCD.text[i];
  }
}

}  // namespace

void FieldToUTF8Line(orvikData_t* data, const Field_t& field, UTF8Line_t* line, int justification) {
  if (field.text.empty()) return;
  if (justification < JUSTIFY_LEFT || justification > JUSTIFY_RIGHT) {
    PrintErr("Orvik: ERROR!  Unknown justification code " + std::to_string(justification));
    return;
  }
  const int n = static_cast<int>(field.text.size());
  const int columns = data->lcdColumns;
  if (n > columns) ReportTooLong(justification, n, columns);

  const std::size_t room = LinesFrom(data, line) * LINE_CELLS;
  std::size_t at = static_cast<std::size_t>(StartColumn(justification, n, columns));
  for (const unsigned codePoint : field.text) {
    if (at >= room) break;
    line[at / LINE_CELLS].cells[at % LINE_CELLS].codePoint = codePoint;
    ++at;
  }
}

void FieldsToUTF8Lines(orvikData_t* data) {
  InitializeUTF8Display(data);
  for (const placement_t& place : LAYOUT) {
    FieldToUTF8Line(data, *place.field, &data->utf8Display[place.line], place.justification);
  }
  LayLCDField(data);
}

void InitializeUTF8Display(orvikData_t* data) {
  ClearUTF8Display(data, data->spaceChar);
}

void ClearUTF8Display(orvikData_t* data, unsigned int ch) {
  for (std::size_t i = 0; i < ShownLines(data); ++i) ClearUTF8Line(data, &data->utf8Display[i], ch);
}

void ClearUTF8Line(orvikData_t* data, UTF8Line_t* line, unsigned int ch) {
  std::fill_n(line->cells.begin(), ShownColumns(data), UTF8Char_t{ch});
}

bool SameUTF8Char(const UTF8Char_t* a, const UTF8Char_t* b) {
  return a->codePoint == b->codePoint;
}

bool SameUTF8Line(const orvikData_t* data, const UTF8Line_t* a, const UTF8Line_t* b) {
  return std::equal(a->cells.begin(), a->cells.begin() + ShownColumns(data), b->cells.begin(),
                    [](const UTF8Char_t& x, const UTF8Char_t& y) { return SameUTF8Char(&x, &y); });
}

void DumpUTF8Line(const orvikData_t* data, const UTF8Line_t* line, int n) {
  PrintOut("UTF8Line " + std::to_string(n));
  for (std::size_t i = 0; i < ShownColumns(data); ++i) {
    std::string cell = "[";
    cell.append(std::to_string(i)).append("] 0x").append(HexText(line->cells[i].codePoint, 8));
    PrintOut(cell);
  }
}

void DumpUTF8LineAll(const orvikData_t* data) {
  for (std::size_t i = 0; i < ShownLines(data); ++i) {
    DumpUTF8Line(data, &data->utf8Display[i], static_cast<int>(i));
  }
}
