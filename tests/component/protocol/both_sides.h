// What the tests of the protocol share: telling the display a message, and what it makes of it.
#pragma once

#include <algorithm>
#include <cctype>
#include <span>
#include <string>
#include <string_view>

#include "host/protocol/encode.h"
#include "src/parse/parse_thread.h"
#include "src/text/fields.h"
#include "tests/support/console_capture.h"
#include "tests/support/test_record.h"

// The message as the parse thread takes it, with zeros behind.
inline DecapData_t BlockOf(std::span<const std::uint8_t> message) {
  DecapData_t block;
  std::ranges::copy(message, block.bytes.begin());
  return block;
}

// Returns what the console says to the message.
inline std::string Tell(orvikData_t* data, std::span<const std::uint8_t> message) {
  ConsoleCapture console;
  ParseMessage(data, BlockOf(message));
  return console.Out() + console.Err();
}

// Letters and digits alone, in lower case: "Page.Wad" and "page-wad" are one name.
inline std::string Plain(std::string_view text) {
  std::string plain;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (std::isalnum(byte) != 0) plain.push_back(static_cast<char>(std::tolower(byte)));
  }
  return plain;
}

// Where the display shows the text of a field: "line 1, left".
inline std::string PlaceOf(std::uint8_t field) {
  TestRecord record;
  InitAllFields();
  Tell(record, host::MakeTextsMessage(std::vector<host::field_text_t>{{field, "ab"}}));
  if (ErectedText(record) == "ab") return "label of the erected jib";
  if (StowedText(record) == "ab") return "label of the stowed jib";
  for (int line = 0; line < record->lcdRows; ++line) {
    for (int column = 0; column < record->lcdColumns; ++column) {
      const auto& cells = record->utf8Display[static_cast<std::size_t>(line)].cells;
      if (cells[static_cast<std::size_t>(column)].codePoint != 'a') continue;
      const char* const side = column == 0 ? "left" : column == record->lcdColumns - 2 ? "right" : "center";
      return "line " + std::to_string(line + 1) + ", " + side;
    }
  }
  return "not on the grid";
}
