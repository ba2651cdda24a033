// The setters of operating values and display settings. A setter of a value that has a database parameter
// writes the parameter too.
//
// Called by the parse thread for host commands, by the key threads for key commands, and at each
// initialisation.
#pragma once

#include "src/core/orvik_data.h"

// The host protocol rounds the two differently: the capacity down to a multiple of 100, the load half up.
void SetCapacity(orvikData_t* data, double value);
void SetLoad(orvikData_t* data, double value);
void SetRadius(orvikData_t* data, double value);
void SetAngle(orvikData_t* data, double value);
void SetExtension(orvikData_t* data, double value);
void SetSwing(orvikData_t* data, double degrees);
void SetSwingMode(orvikData_t* data, int mode);
void SetPistonPressure(orvikData_t* data, double value);
void SetRodPressure(orvikData_t* data, double value);
void SetPercentSafeWorkingLoad(orvikData_t* data, double fraction);  // 0.85 is 85 %
void SetPartsOfLine(orvikData_t* data, int parts);
void SetStowedIcon(orvikData_t* data, int icon);
void SetErectedIcon(orvikData_t* data, int icon);
// 0 Imperial, 1 Metric. Any other number is reported on standard error and changes nothing.
void SetUnits(orvikData_t* data, int units);
// `language` is an index into LANGUAGE_NAMES. Sets the size of the character grid and its substitute characters
// too. Any other number is reported on standard error and changes nothing.
void SetLanguage(orvikData_t* data, int language);
void SetDisplayType(orvikData_t* data, int type);
void SetCommandProtocolVersion(orvikData_t* data, int version);
void SetDynamicEncryptionMethod(orvikData_t* data, int method);
// Colours of the tires and of the retracted, half and extended outriggers (outrigger_colors_t).
void SetOutriggerColors(orvikData_t* data, int tires, int retracted, int half, int extended);
void ResetAllOutriggerColors(orvikData_t* data);  // all green (1)

// Stores the lamp word; one bit is one indicator.
void SetLEDState(orvikData_t* data, unsigned word);
// Returns `value` when mask and lamp word have a set bit in common, else 0.0.
double GetLEDState(orvikData_t* data, int mask, int value);

void SetLCDResolution(orvikData_t* data, int rows, int columns);

// The values as the screen rounds them; NaN stays NaN.
double RoundToHundredBelow(double value);      // load and capacity; nothing below 0
double RoundToTenth(double value);             // radius and extension; nothing below 0
double RoundToTenthTowardsZero(double value);  // boom angle

// Whether the screen shows a number for the value: what it shows as dashes has no picture either.
constexpr double LOWEST_SHOWN_ANGLE = -20.0;
bool IsAngleShown(double degrees);
bool IsSwingShown(double degrees);
