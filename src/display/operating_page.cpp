#include "src/display/operating_page.h"

#include <algorithm>
#include <iterator>
#include <string>

#include <utf8.h>

#include "src/core/sharing.h"
#include "src/dials/dials.h"
#include "src/display/text_widget.h"
#include "src/display/value_widgets.h"
#include "src/text/fields.h"
#include "src/text/grid.h"

namespace {

const std::string BLANK = " ";

using grid_t = std::array<UTF8Line_t, GRID_LINES>;

// The texts last sent to the line widgets, and the grid from which they were made.
struct lines_display_t {
  grid_t grid{};
  int columns = -1;
  bool wide = false;
  std::array<TextWidget, GRID_LINES> std, wideLines;
};
lines_display_t linesDisplay;

struct label_display_t {
  TextWidget std, wide;
};
label_display_t mainErected, mainStowed, configErected, configStowed, flashMessage;

// The text that is being shown. Its storage stays, so that the dispatcher's cycle allocates nothing.
std::string shownText;

bool IsFullWidth(const orvikData_t* data) {
  return data->expandFullWidth != 0;
}

// A code point that is not valid is shown as a blank. Repaired host text has none.
void AppendCodePoint(std::uint32_t codePoint, std::string& text) {
  try {
    utf8::append(codePoint, std::back_inserter(text));
  } catch (const utf8::exception&) {
    text += BLANK;
  }
}

void WriteLine(const UTF8Line_t& line, int columns, std::string& text) {
  text.clear();
  const auto shown = static_cast<std::size_t>(std::clamp(columns, 0, LINE_CELLS));
  for (std::size_t i = 0; i < shown; ++i) AppendCodePoint(line.cells[i].codePoint, text);
  if (text.empty()) text = BLANK;
}

grid_t CopyGrid(orvikData_t* data) {
  const MutexGuard guard(data->displayMutex);
  return data->utf8Display;
}

void ShowLine(orvikData_t* data, std::size_t line, const std::string& text, bool wide) {
  const gauge_handles_t& g = data->gauges;
  linesDisplay.std[line].Show(data, wide ? BLANK : text, SCREEN_TEXT_LEFT, g.operatingStd[line], g.wadStd[line],
                              g.slateStd[line]);
  linesDisplay.wideLines[line].Show(data, wide ? text : BLANK, SCREEN_TEXT_LEFT, g.operatingWide[line],
                                    g.wadWide[line], g.slateWide[line]);
}

void ShowLabel(orvikData_t* data, label_display_t& label, const std::string& text, unsigned stdHandle,
               unsigned wideHandle) {
  const std::string& shown = text.empty() ? BLANK : text;
  label.std.Show(data, IsFullWidth(data) ? BLANK : shown, SCREEN_TEXT_LEFT, stdHandle);
  label.wide.Show(data, IsFullWidth(data) ? shown : BLANK, SCREEN_TEXT_LEFT, wideHandle);
}

void ShowErected(orvikData_t* data, label_display_t& label, unsigned stdHandle, unsigned wideHandle) {
  WriteErectedText(data, shownText);
  ShowLabel(data, label, shownText, stdHandle, wideHandle);
}

void ShowStowed(orvikData_t* data, label_display_t& label, unsigned stdHandle, unsigned wideHandle) {
  WriteStowedText(data, shownText);
  ShowLabel(data, label, shownText, stdHandle, wideHandle);
}

void WriteFlashText(orvikData_t* data, std::string& text) {
  const MutexGuard guard(data->displayMutex);
  text.clear();
  for (const unsigned codePoint : data->flashLine) AppendCodePoint(codePoint, text);
}

void DisplayValues(orvikData_t* data) {
  DisplayCapacity(data);
  DisplayLoad(data);
  DisplayExtension(data);
  DisplayAngle(data);
  DisplayRadius(data);
  DisplayUnits(data);
  DisplaySwing(data);
}

}  // namespace

void DisplayLines(orvikData_t* data) {
  const grid_t grid = CopyGrid(data);
  const int columns = data->lcdColumns;
  const bool wide = IsFullWidth(data);
  const bool all = columns != linesDisplay.columns || wide != linesDisplay.wide;
  for (std::size_t line = 0; line < GRID_LINES; ++line) {
    if (!all && SameUTF8Line(data, &grid[line], &linesDisplay.grid[line])) continue;
    WriteLine(grid[line], columns, shownText);
    ShowLine(data, line, shownText, wide);
  }
  linesDisplay.grid = grid;
  linesDisplay.columns = columns;
  linesDisplay.wide = wide;
}

void DisplayErected(orvikData_t* data) {
  ShowErected(data, mainErected, data->gauges.mainErectedStd, data->gauges.mainErectedWide);
}

void DisplayStowed(orvikData_t* data) {
  ShowStowed(data, mainStowed, data->gauges.mainStowedStd, data->gauges.mainStowedWide);
}

void UpdatePageOperating(orvikData_t* data) {
  DisplayLines(data);
  DisplayValues(data);
  DisplayErected(data);
  DisplayStowed(data);
}

void UpdatePageConfig(orvikData_t* data) {
  const gauge_handles_t& g = data->gauges;
  ShowErected(data, configErected, g.configErectedStd, g.configErectedWide);
  ShowStowed(data, configStowed, g.configStowedStd, g.configStowedWide);
  WriteFlashText(data, shownText);
  ShowLabel(data, flashMessage, shownText, g.flashMsgStd, g.flashMsgWide);
}

void UpdatePageDials(orvikData_t* data) {
  DisplayValues(data);
  UpdateDials(data);
}
