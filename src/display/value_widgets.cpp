#include "src/display/value_widgets.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include "src/core/console.h"
#include "src/core/operating_values.h"
#include "src/display/number_format.h"
#include "src/display/text_widget.h"

namespace {

constexpr double NEVER = std::numeric_limits<double>::quiet_NaN();  // differs from every value
constexpr int LOAD_PLACES = 7;
constexpr int VALUE_PLACES = 5;
constexpr int VALUE_ATTRIBUTE = SCREEN_TEXT_RIGHT;

// The value that the widgets show.
struct value_display_t {
  double previousRaw = NEVER;
  double previousRounded = NEVER;
  TextWidget previousStr;
};

struct value_format_t {
  double (*round)(double);
  void (*format)(double, char*);  // of the rounded value
  int places;
};

constexpr value_format_t WEIGHT = {RoundToHundredBelow,
                                   [](double v, char* text) { FormatInt(v, text, 0, false); }, LOAD_PLACES};
constexpr value_format_t LENGTH = {RoundToTenth, [](double v, char* text) { FormatDouble(v, text, 0.0); },
                                   VALUE_PLACES};
constexpr value_format_t ANGLE = {RoundToTenthTowardsZero,
                                  [](double v, char* text) { FormatDouble(v, text, LOWEST_SHOWN_ANGLE); },
                                  VALUE_PLACES};

void FormatShownValue(const value_format_t& format, double value, char* text) {
  format.format(format.round(value), text);
  InvalidNum(text, format.places);
}

void DisplayValue(orvikData_t* data, value_display_t& display, const value_format_t& format, double value,
                  unsigned mainHandle, unsigned wadHandle) {
  if (value == display.previousRaw) return;
  display.previousRaw = value;
  const double rounded = format.round(value);
  if (rounded == display.previousRounded) return;
  display.previousRounded = rounded;
  char text[8];
  FormatShownValue(format, value, text);
  display.previousStr.Show(data, text, VALUE_ATTRIBUTE, mainHandle, wadHandle);
}

constexpr std::array<std::string_view, 7> SWING_MODES = {"", "FRONT", "REAR", "SIDE", "360", "-N/A-", "F-ARC"};

std::string SwingText(const orvikData_t* data) {
  const std::string_view mode = SwingModeText(data->swingMode);
  if (!mode.empty()) return std::string(mode);
  const double degrees = data->swing;
  char text[8];
  FormatSwingStr(text, IsSwingShown(degrees) ? static_cast<int>(degrees) : std::numeric_limits<int>::max());
  InvalidNum(text, VALUE_PLACES);
  return text;
}

struct unit_texts_t {
  std::string_view weight;
  std::string_view distance;
};
constexpr std::string_view UNKNOWN_UNITS = "err";

unit_texts_t UnitTexts(const orvikData_t* data) {
  const unsigned language = data->language;
  const unsigned units = data->units;
  if (language >= LANGUAGE_COUNT) {
    PrintErr("ERROR!  Unknown language designator " + std::to_string(language));
    return {UNKNOWN_UNITS, UNKNOWN_UNITS};
  }
  if (units >= UNITS_WEIGHT.size()) {
    PrintErr("ERROR!  Unknown units designator " + std::to_string(units));
    return {UNKNOWN_UNITS, UNKNOWN_UNITS};
  }
  return {UNITS_WEIGHT[units][language], UNITS_DISTANCE[units][language]};
}

// Used by the dispatcher thread alone.
value_display_t capacityDisplay, loadDisplay, extensionDisplay, angleDisplay, radiusDisplay;
TextWidget unitsWeightPreviousStr, unitsDistancePreviousStr, swingPreviousStr;

}  // namespace

// In the order of LANGUAGE_NAMES. Portuguese uses the Spanish words, Chinese and Russian the English ones.
const unit_names_t UNITS_WEIGHT = {{
    {"lbs", "libras", "libras", "lbs", "lbs", "livres"},
    {"kgs", "kilos", "kilos", "kgs", "kgs", "kilos"},
}};
const unit_names_t UNITS_DISTANCE = {{
    {"feet", "pies", "pies", "feet", "feet", "pieds"},
    {"meters", "metros", "metros", "meters", "meters", "meters"},
}};

std::string_view SwingModeText(int mode) {
  if (mode < 0 || mode >= static_cast<int>(SWING_MODES.size())) return "ERROR";
  return SWING_MODES[static_cast<std::size_t>(mode)];
}

void LoadText(double value, char* text) {
  FormatShownValue(WEIGHT, value, text);
}
void ExtensionText(double value, char* text) {
  FormatShownValue(LENGTH, value, text);
}
void AngleText(double value, char* text) {
  FormatShownValue(ANGLE, value, text);
}

void DisplayCapacity(orvikData_t* data) {
  DisplayValue(data, capacityDisplay, WEIGHT, data->capacity, data->gauges.capacity, data->gauges.wadCapacity);
}

void DisplayLoad(orvikData_t* data) {
  DisplayValue(data, loadDisplay, WEIGHT, data->load, data->gauges.load, data->gauges.wadLoad);
}

void DisplayExtension(orvikData_t* data) {
  DisplayValue(data, extensionDisplay, LENGTH, data->extension, data->gauges.extension,
               data->gauges.wadExtension);
}

void DisplayAngle(orvikData_t* data) {
  DisplayValue(data, angleDisplay, ANGLE, data->angle, data->gauges.angle, data->gauges.wadAngle);
}

void DisplayRadius(orvikData_t* data) {
  DisplayValue(data, radiusDisplay, LENGTH, data->radius, data->gauges.radius, data->gauges.wadRadius);
}

void DisplayUnits(orvikData_t* data) {
  const unit_texts_t texts = UnitTexts(data);
  const gauge_handles_t& gauges = data->gauges;
  unitsWeightPreviousStr.Show(data, std::string(texts.weight), SCREEN_TEXT_CENTER, gauges.unitsWeight,
                              gauges.wadUnitsWeight);
  unitsDistancePreviousStr.Show(data, std::string(texts.distance), SCREEN_TEXT_LEFT, gauges.unitsDistance,
                                gauges.wadUnitsDistance);
}

void DisplaySwing(orvikData_t* data) {
  swingPreviousStr.Show(data, SwingText(data), VALUE_ATTRIBUTE, data->gauges.swing, data->gauges.wadSwing);
}
