// Host text as the record keeps it: slots of code points, and the grid of cells that they are laid into.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

// One host text slot.
struct Field_t {
  unsigned fid = 0;            // 0 to 30; read as one byte
  std::vector<unsigned> text;  // Unicode code points; empty when the field is clear
};

// A character cell: one Unicode code point.
struct UTF8Char_t {
  std::uint32_t codePoint = 0;
};

constexpr int LINE_CELLS = 40;  // cells of a line's storage; lcdColumns of them are shown
constexpr int GRID_LINES = 4;

struct UTF8Line_t {
  std::array<UTF8Char_t, LINE_CELLS> cells{};
};
