// The setters of the operating values: each stores into the record and writes the value's database parameter.
//
// Called on the parse thread for host commands, on the key threads for key commands, and at initialisation.
#pragma once

#include "src/core/orvik_data.h"

void SetCapacity(orvikData_t* data, double value);  // rounded down to a multiple of 100
void SetLoad(orvikData_t* data,
             double value);  // rounded half up to a multiple of 100; the asymmetry is intended
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
// 0 Imperial, 1 Metric; anything else is reported on standard error and changes nothing.
void SetUnits(orvikData_t* data, int units);
// 0 to 5 as LANGUAGE_NAMES; anything else is reported on standard error and changes nothing. Sets the grid's
// geometry and substitute characters as well.
void SetLanguage(orvikData_t* data, int language);
void SetDisplayType(orvikData_t* data, int type);
void SetCommandProtocolVersion(orvikData_t* data, int version);
void SetDynamicEncryptionMethod(orvikData_t* data, int method);
// Colours of tires, retracted, half and extended, in that order.
void SetOutriggerColors(orvikData_t* data, int tires, int retracted, int half, int extended);
void ResetAllOutriggerColors(orvikData_t* data);  // all green (1)

// The lamp word, one bit an indicator.
void SetLEDState(orvikData_t* data, unsigned word);
// The value where mask and lamp word share a set bit, else 0.0.
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
