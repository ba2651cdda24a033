// The value widgets of Main and Wad, and the texts that they show for the operating values.
//
// The Display functions run on the dispatcher thread. A widget is sent a text only when it differs from the
// last text sent to it. The last texts are kept for the whole process; an initialisation of the record does not
// clear them.
#pragma once

#include <array>
#include <string_view>

#include "src/core/name_tables.h"
#include "src/core/orvik_data.h"

using unit_names_t = std::array<std::array<std::string_view, LANGUAGE_COUNT>, 2>;  // [units][language]
extern const unit_names_t UNITS_WEIGHT;
extern const unit_names_t UNITS_DISTANCE;

// The text for a swing mode; empty for mode 0, in which the widget shows the swing in degrees.
std::string_view SwingModeText(int mode);

void DisplayCapacity(orvikData_t* data);
void DisplayLoad(orvikData_t* data);
void DisplayExtension(orvikData_t* data);
void DisplayAngle(orvikData_t* data);
void DisplayRadius(orvikData_t* data);
// Shows "err" for an unknown units or language number and reports it on standard error at every call.
void DisplayUnits(orvikData_t* data);
void DisplaySwing(orvikData_t* data);

// The text that the widgets show for a value in the host's units.
void LoadText(double value, char* text);       // also for the capacity; rounded down to hundreds
void ExtensionText(double value, char* text);  // also for the radius; rounded to the nearest tenth, at least 0
void AngleText(double value, char* text);      // rounded towards zero to tenths; dashes below -20.0
