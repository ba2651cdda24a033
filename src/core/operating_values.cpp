#include "src/core/operating_values.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include "src/core/console.h"
#include "src/core/name_tables.h"
#include "src/services/dbshm.h"

namespace {

constexpr double HUNDRED = 100.0;
constexpr int OUTRIGGER_GREEN = 1;

// Columns of the character grid and its substitute characters. Full-width cells are wider, so that fewer fit on
// a line.
struct text_kind_t {
  int columns;
  std::uint32_t underscore;
  std::uint32_t validNonPrintable;
  std::uint32_t invalidNonPrintable;
  int expandFullWidth;
};
constexpr text_kind_t NARROW_TEXT = {40, 0x005F, 0x007B, 0x007D, 0};
constexpr text_kind_t WIDE_TEXT = {24, 0xFF3F, 0xFF5B, 0xFF5D, 1};
constexpr int TEXT_ROWS = 4;

constexpr std::uint32_t IDEOGRAPHIC_SPACE = 0x3000;
constexpr std::uint32_t SPACE = 0x0020;
constexpr std::uint32_t NO_BREAK_SPACE = 0x00A0;
// The fonts of operating system version 2.3 have no glyph for the no-break space.
constexpr double OS_WITH_PLAIN_BLANK = 2.3;

constexpr std::array<const text_kind_t*, LANGUAGE_COUNT> TEXT_KINDS = {
    &NARROW_TEXT, &NARROW_TEXT, &NARROW_TEXT, &WIDE_TEXT, &NARROW_TEXT, &NARROW_TEXT};

std::uint32_t BlankFor(const orvikData_t* data, const text_kind_t& kind) {
  if (kind.expandFullWidth != 0) return IDEOGRAPHIC_SPACE;
  return data->osVerRev == OS_WITH_PLAIN_BLANK ? SPACE : NO_BREAK_SPACE;
}

void SetTextKind(orvikData_t* data, const text_kind_t& kind) {
  SetLCDResolution(data, TEXT_ROWS, kind.columns);
  data->blankChar = BlankFor(data, kind);
  data->spaceChar = data->blankChar;
  data->underscoreChar = kind.underscore;
  data->validNonPrintableChar = kind.validNonPrintable;
  data->invalidNonPrintableChar = kind.invalidNonPrintable;
  data->expandFullWidth = kind.expandFullWidth;
}

template <class Value>
void StoreAndWrite(PlainWord<Value>& word, unsigned handle, Value value) {
  word = value;
  DBSHM::Write(handle, static_cast<double>(value));
}

// The integer part as an unsigned word holds it: nothing below 0, nothing above its range; NaN stays.
double UnsignedPart(double value) {
  if (std::isnan(value) || value < 0) return std::isnan(value) ? value : 0.0;
  return std::min(std::trunc(value), static_cast<double>(std::numeric_limits<std::uint32_t>::max()));
}

constexpr double SHOWN_ANGLE_LIMIT = 1000.0;
constexpr double FULL_TURN = 360.0;

}  // namespace

// Adding 0.0 turns a negative zero into zero: the database compares bytes and would report -0.0 as a change.
void SetCapacity(orvikData_t* data, double value) {
  StoreAndWrite(data->capacity, data->variables.capacity, HUNDRED * std::trunc(value / HUNDRED) + 0.0);
}

void SetLoad(orvikData_t* data, double value) {
  StoreAndWrite(data->load, data->variables.load, HUNDRED * std::trunc((value + HUNDRED / 2) / HUNDRED) + 0.0);
}

void SetRadius(orvikData_t* data, double value) {
  StoreAndWrite(data->radius, data->variables.radius, value);
}
void SetAngle(orvikData_t* data, double value) {
  StoreAndWrite(data->angle, data->variables.angle, value);
}
void SetExtension(orvikData_t* data, double value) {
  StoreAndWrite(data->extension, data->variables.extension, value);
}
void SetSwing(orvikData_t* data, double degrees) {
  StoreAndWrite(data->swing, data->variables.swing, degrees);
}
void SetSwingMode(orvikData_t* data, int mode) {
  StoreAndWrite(data->swingMode, data->variables.swingMode, mode);
}

void SetPistonPressure(orvikData_t* data, double value) {
  StoreAndWrite(data->pistonPressure, data->variables.pistonPressure, value);
}

void SetRodPressure(orvikData_t* data, double value) {
  StoreAndWrite(data->rodPressure, data->variables.rodPressure, value);
}

void SetPercentSafeWorkingLoad(orvikData_t* data, double fraction) {
  StoreAndWrite(data->percentSafeWorkingLoad, data->variables.percentSafeWorkingLoad, fraction);
}

void SetPartsOfLine(orvikData_t* data, int parts) {
  StoreAndWrite(data->partsOfLine, data->variables.partsOfLine, parts);
}
void SetStowedIcon(orvikData_t* data, int icon) {
  StoreAndWrite(data->stowedIcon, data->variables.stowedIcon, icon);
}
void SetErectedIcon(orvikData_t* data, int icon) {
  StoreAndWrite(data->erectedIcon, data->variables.erectedIcon, icon);
}

void SetUnits(orvikData_t* data, int units) {
  if (units != 0 && units != 1) {
    PrintErr("Orvik: ERROR!  Illegal units id " + std::to_string(units));
    return;
  }
  data->units = static_cast<std::uint8_t>(units);
}

void SetLanguage(orvikData_t* data, int language) {
  if (language < 0 || language >= static_cast<int>(LANGUAGE_COUNT)) {
    PrintErr("Orvik: ERROR!  Illegal language id " + std::to_string(language));
    return;
  }
  StoreAndWrite(data->language, data->variables.language, static_cast<std::uint8_t>(language));
  SetTextKind(data, *TEXT_KINDS[static_cast<std::size_t>(language)]);
}

void SetDisplayType(orvikData_t* data, int type) {
  data->displayType = type;
}

void SetCommandProtocolVersion(orvikData_t* data, int version) {
  data->commandProtocolVersion = static_cast<std::uint8_t>(version);
}

void SetDynamicEncryptionMethod(orvikData_t* data, int method) {
  data->dynamicEncryptionMethod = static_cast<std::uint8_t>(method);
}

void SetOutriggerColors(orvikData_t* data, int tires, int retracted, int half, int extended) {
  data->outriggerColors.tires = tires;
  data->outriggerColors.retracted = retracted;
  data->outriggerColors.half = half;
  data->outriggerColors.extended = extended;
}

void ResetAllOutriggerColors(orvikData_t* data) {
  SetOutriggerColors(data, OUTRIGGER_GREEN, OUTRIGGER_GREEN, OUTRIGGER_GREEN, OUTRIGGER_GREEN);
}

void SetLEDState(orvikData_t* data, unsigned word) {
  data->ledState = word;
}

double GetLEDState(orvikData_t* data, int mask, int value) {
  return (data->ledState & static_cast<std::uint32_t>(mask)) != 0 ? static_cast<double>(value) : 0.0;
}

void SetLCDResolution(orvikData_t* data, int rows, int columns) {
  data->lcdRows = rows;
  data->lcdColumns = columns;
  data->lcdSize = rows * columns;
}

// The offset of 0.0 is intended: the display shows the hundred below.
double RoundToHundredBelow(double value) {
  return UnsignedPart((value + 0.0) / 100.0) * 100.0;
}
double RoundToTenth(double value) {
  return UnsignedPart((value + 0.05) / 0.1) * 0.1;
}
// The number of tenths is an integer and has no sign at 0: adding 0.0 turns minus zero into zero.
double RoundToTenthTowardsZero(double value) {
  return (std::trunc((value + 0.05) / 0.1) + 0.0) * 0.1;
}

bool IsAngleShown(double degrees) {
  const double shown = RoundToTenthTowardsZero(degrees);
  return shown >= LOWEST_SHOWN_ANGLE && shown < SHOWN_ANGLE_LIMIT;
}
bool IsSwingShown(double degrees) {
  return std::abs(degrees) <= FULL_TURN;
}
