// Record types of pages with their key bindings and of host text.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "src/core/name_tables.h"

// One key binding.
struct Pkey_t {
  // Front key 1 to 8; 9 for keys 5 and 8 together; 0 for a filler that no key matches.
  std::uint8_t platformKey = 0;
  std::uint8_t targetKey = 0;  // host_key_code_t
  std::uint8_t event = 0;      // index into EVENT_ID_NAMES; 0 is none
  std::uint8_t command = 0;    // index into CMD_NAMES; 0 is none
};
static_assert(sizeof(Pkey_t) == 4);

// One page.
struct Page_t {
  int pageId = 0;        // action_id_t
  int timeOutEvent = 0;  // index into EVENT_ID_NAMES; posted each second while the host is silent; 0 is none
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
  std::uint32_t mask = 0;  // 0: the key is not valid; 1: valid without beep; 0x7F: valid with one beep
  std::uint32_t reserved1 = 0;
  std::uint32_t reserved2 = 0;
};
static_assert(sizeof(host_key_t) == 16);
constexpr int HOST_KEYS = TARGET_KEY_NAME_COUNT;

// One host text slot.
struct Field_t {
  unsigned fid = 0;            // field number, 0 to 30; only the low byte counts
  std::vector<unsigned> text;  // Unicode code points; empty when the field is clear
};

// A character cell: one Unicode code point.
struct UTF8Char_t {
  std::uint32_t codePoint = 0;
};

constexpr int LINE_CELLS = 40;  // cells that a line stores; the first lcdColumns are shown
constexpr int GRID_LINES = 4;

struct UTF8Line_t {
  std::array<UTF8Char_t, LINE_CELLS> cells{};
};
