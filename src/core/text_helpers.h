// Small helpers for texts and dates.
#pragma once

void StringToCharArray(char* dst, const char* src, int n);
int MonthToNum(const char* month);
void FormatDate(char* out, const char* in);
