#include "src/display/number_format.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace {

constexpr std::size_t TEXT_SIZE = 8;
constexpr int INT_PLACES = 7;
constexpr int DOUBLE_PLACES = 6;
constexpr int SWING_PLACES = 5;

constexpr const char* INT_DASHES = "-------";
constexpr const char* DOUBLE_DASHES = "-----";

constexpr double COMMA_FROM = 1000.0;
constexpr double INT_LIMIT = 1000000.0;
constexpr double WIDE_FROM = 100.0;
constexpr double DOUBLE_LIMIT = 1000.0;

void Dash(char* text, const char* dashes) {
  std::strcpy(text, dashes);
}

template <class Value>
void PrintNumber(char* text, const char* format, Value value) {
  static_cast<void>(std::snprintf(text, TEXT_SIZE, format, value));
}

// "%6d" always gives six places; the comma goes between the first three and the last three.
void PrintWithComma(int value, char* text) {
  char scratch[TEXT_SIZE];
  PrintNumber(scratch, "%6d", value);
  static_cast<void>(std::snprintf(text, TEXT_SIZE, "%.3s,%.3s", scratch, scratch + 3));
}

bool ShowsAsInt(double value, int minimum, bool zeroIfNegative) {
  if (std::isnan(value) || static_cast<double>(minimum) > value || value >= INT_LIMIT) return false;
  return value >= 0 || zeroIfNegative;
}

}  // namespace

void FormatInt(double value, char* text, int minimum, bool zeroIfNegative) {
  if (!ShowsAsInt(value, minimum, zeroIfNegative)) {
    Dash(text, INT_DASHES);
  } else if (value < COMMA_FROM) {
    PrintNumber(text, "% 7d", value < 0 ? 0 : static_cast<int>(value));
  } else {
    PrintWithComma(static_cast<int>(value), text);
  }
  text[INT_PLACES] = '\0';
}

void FormatDouble(double value, char* text, double minimum) {
  if (std::isnan(value) || value < minimum || value >= DOUBLE_LIMIT) {
    Dash(text, DOUBLE_DASHES);
  } else {
    PrintNumber(text, value < WIDE_FROM ? "% 5.1f" : "%5.1f", value);
  }
  text[DOUBLE_PLACES] = '\0';
}

void FormatSwingStr(char* text, int degrees) {
  if (degrees == 360 || degrees == -360) degrees = 0;
  if (degrees > -360 && degrees < 360) {
    PrintNumber(text, "% 5d", degrees);
  } else {
    Dash(text, DOUBLE_DASHES);
  }
  text[SWING_PLACES] = '\0';
}

void FormatPartsOfLine(char* text, int parts) {
  PrintNumber(text, "%2d", parts);
}

void InvalidNum(char* text, int length) {
  const double number = std::atof(text);
  if (number >= std::numeric_limits<double>::lowest() && number <= std::numeric_limits<double>::max()) return;
  if (std::isnan(number)) return;
  std::memset(text, '-', static_cast<std::size_t>(length));
  text[length] = '\0';
}
