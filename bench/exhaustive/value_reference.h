// The texts that the screen must show for a value of the host, from the display's rules alone.
//
// Nothing of src/ or unit/ is called, no printf and no floating point. Where a rule is an expression in double
// precision, such as (v + 0.05) / 0.1, the expression is the rule and each of its steps is rounded by
// soft_double.h; where a rule is about decimal digits, it is computed from the float's own m * 2^e.
#pragma once

#include <cstdint>
#include <string>

namespace exhaustive {

// What the host sends, the bits of a single-precision value, as the widget shows it.
std::string ExpectedLoad(std::uint32_t bits);      // nearest hundred, then the hundred below
std::string ExpectedCapacity(std::uint32_t bits);  // the hundred below
std::string ExpectedLength(std::uint32_t bits);    // radius and extension: tenths, nothing below 0
std::string ExpectedAngle(std::uint32_t bits);     // tenths towards zero, from -20.0
// -359 to 359, and 360 either way as 0.
std::string ExpectedSwing(std::int16_t degrees);
// The word of a swing mode; empty for the mode that shows the number.
std::string ExpectedSwingWord(int mode);

// The part of the safe working load in percent as a whole number: rounded to six significant digits, which a
// single-precision value carries, then cut. "--" for what is infinite or not a number, and beyond 10^15.
std::string ExpectedPercent(std::uint32_t bits);
// The band that decides over colour and word, of the same six digits: 0 below 0.9, 1 below 1, 2 from 1 on;
// -1 where the value is not known.
int ExpectedBand(std::uint32_t bits);

}  // namespace exhaustive
