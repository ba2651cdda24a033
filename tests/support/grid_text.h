// The text grid as text.
#pragma once

#include <string>

#include "src/core/orvik_data.h"

// The first `count` cells of a line as text; an untouched cell is ".", one above U+00FF is "#".
inline std::string GridCells(const orvikData_t* data, std::size_t line, int count) {
  std::string text;
  for (std::size_t i = 0; static_cast<int>(i) < count; ++i) {
    const auto c = data->utf8Display[line].cells[i].codePoint;
    text.push_back(c == 0 ? '.' : c > 0xFF ? '#' : static_cast<char>(c));
  }
  return text;
}
// The cells of a line that are shown.
inline std::string GridLine(const orvikData_t* data, std::size_t line) {
  return GridCells(data, line, data->lcdColumns);
}
