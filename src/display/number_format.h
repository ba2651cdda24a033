// The number formats of the operating page: fixed widths, and dashes for what a format cannot show.
//
// Each writes a zero-terminated text into `text`, which holds at least 8 characters. NaN shows as dashes.
#pragma once

// Seven places: "% 7d" below 1,000, with a comma below 1,000,000, else seven dashes. Below `minimum` dashes; a
// negative value shows as 0 where `zeroIfNegative`, else as dashes.
void FormatInt(double value, char* text, int minimum, bool zeroIfNegative);
// One decimal: "% 5.1f" below 100, "%5.1f" below 1,000, else five dashes. Below `minimum` dashes.
void FormatDouble(double value, char* text, double minimum);
// "% 5d" from -359 to 359; 360 either way is 0; else five dashes.
void FormatSwingStr(char* text, int degrees);
// Two places, "%2d".
void FormatPartsOfLine(char* text, int parts);
// Overwrites a text that reads as an infinite number by `length` dashes.
void InvalidNum(char* text, int length);
