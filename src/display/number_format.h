// The number formats of the operating page: fixed widths, and dashes for a number that a format cannot show.
//
// Each function writes a zero-terminated text into `text`, which holds at least 8 characters. NaN is shown as
// dashes.
#pragma once

// Seven places: "% 7d" below 1,000, with a comma below 1,000,000, else seven dashes. A value below `minimum` is
// shown as dashes; a negative one as 0 if `zeroIfNegative`, else as dashes.
void FormatInt(double value, char* text, int minimum, bool zeroIfNegative);
// One decimal: "% 5.1f" below 100, "%5.1f" below 1,000, else five dashes. A value below `minimum` is shown as
// dashes.
void FormatDouble(double value, char* text, double minimum);
// "% 5d" from -359 to 359; 360 and -360 are shown as 0; else five dashes.
void FormatSwingStr(char* text, int degrees);
// Two places, "%2d".
void FormatPartsOfLine(char* text, int parts);
// Replaces a text that is an infinite number by `length` dashes.
void InvalidNum(char* text, int length);
