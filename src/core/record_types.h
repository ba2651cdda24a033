// Pages with their key bindings, and host text, as the record keeps them.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

// One key binding.
struct Pkey_t {
  std::uint8_t platformKey =
      0;  // front key 1 to 8; 9 is keys 5 and 8 together; 0 marks a filler that no key matches
  std::uint8_t targetKey = 0;  // host key code, an index into TARGET_KEY_NAMES; 0 is none
  std::uint8_t event = 0;      // index into EVENT_ID_NAMES; 0 is none
  std::uint8_t command = 0;    // index into CMD_NAMES; 0 is none
};
static_assert(sizeof(Pkey_t) == 4);

// One page. `pageId` is an index into ACTION_ID_NAMES.
struct Page_t {
  int pageId = 0;
  int timeOutEvent = 0;  // index into EVENT_ID_NAMES of what is posted while the host is silent; 0 is none
  unsigned flags = 0;
  std::vector<Pkey_t> keys;
};

struct Target_t {
  std::string name;
  std::vector<Page_t> pages;
};

// One entry of the host key map.
struct host_key_t {
  std::uint32_t code = 0;
  std::uint32_t mask = 0;  // validity and beep: 0 the key does nothing, 1 no beep, 0x7F one beep
  std::uint32_t reserved1 = 0;
  std::uint32_t reserved2 = 0;
};
static_assert(sizeof(host_key_t) == 16);
constexpr int HOST_KEYS = 24;

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
