// Conversions of texts and dates that work on character arrays.
#pragma once

// Copies at most n - 1 characters of `src` to `dst` and terminates it. Does nothing for n below 1.
void StringToCharArray(char* dst, const char* src, int n);
// Number of an English month abbreviation of three letters ("Jan" is 1); -1 for any other text.
int MonthToNum(const char* month);
// Writes a date such as "Aug 27 2013" as "08/27/13" with its terminating zero (at least 9 characters). An
// unknown month is written as "-1".
void FormatDate(char* out, const char* in);
