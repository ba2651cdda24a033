// The value widgets of Main and Wad: what they show for each operating value.
//
// The Display functions run on the dispatcher thread. A widget is sent a text only when it differs from the
// last one sent to it; that memory lasts for the life of the process, also when the record is initialised
// again.
#pragma once

#include <array>
#include <string_view>

#include "src/core/name_tables.h"
#include "src/core/orvik_data.h"

using unit_names_t = std::array<std::array<std::string_view, LANGUAGE_COUNT>, 2>;  // [units][language]
extern const unit_names_t UNITS_WEIGHT;
extern const unit_names_t UNITS_DISTANCE;

// The text for a swing mode; empty for mode 0, which shows the number.
std::string_view SwingModeText(int mode);

void DisplayCapacity(orvikData_t* data);
void DisplayLoad(orvikData_t* data);
void DisplayExtension(orvikData_t* data);
void DisplayAngle(orvikData_t* data);
void DisplayRadius(orvikData_t* data);
// Reports a bad units or language designator on standard error at every call and shows "err".
void DisplayUnits(orvikData_t* data);
void DisplaySwing(orvikData_t* data);

// What the widgets show for a value, in the host's units.
void LoadText(double value, char* text);       // capacity too: the whole hundreds below
void ExtensionText(double value, char* text);  // radius too: nearest tenth, not below 0
void AngleText(double value, char* text);      // tenth towards zero, down to -20.0
