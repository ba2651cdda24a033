// The backlight of the screen.
#pragma once

#include "src/core/orvik_data.h"

constexpr const char* BACKLIGHT_DEVICE = "/dev/pwm0";

// Device-control commands of the pulse-width modulator.
constexpr unsigned PWM_ENABLE = 0x80040505;      // no data
constexpr unsigned PWM_SET_PERIOD = 0x80040501;  // 32-bit integer
constexpr unsigned PWM_SET_DUTY = 0x80040503;    // 32-bit integer, in parts of the period

// Sets the duty cycle in percent; a level above 100 counts as 100. A device that cannot be opened is reported
// on standard error.
void backlight(unsigned level);
// Stores the percentage in the record, writes it to the database and sets the backlight. Any thread.
void SetBrightness(orvikData_t* data, int percent);
