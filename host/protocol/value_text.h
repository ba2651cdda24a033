// Values as text: reads what a person writes on the command line, and writes what the decoder prints.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/protocol/protocol.h"

namespace host {

// Null if the command has no such field.
const field_t* FindField(const command_t& command, std::string_view name);

// Reads a number ("12300", "-3.5", "0x1F"), a name of the field ("metric"), or lamp names separated by commas.
// Throws UsageError, with what would be right, if the text is none of these or the number exceeds the field.
double ParseValue(const field_t& field, std::string_view text);
// The value's name if it has one, else the shortest number that reads back to the same value. Lamps by name, or
// "none".
std::string FormatValue(const field_t& field, double value);

// A time factor from 0.001 to `fastest`; 0 for "max". Throws UsageError.
double ParseSpeed(const std::string& text, double fastest);

// The masks of the 23 host keys from "info,tires:no-beep", "all" or "none". Keys that are not named are not
// valid. Throws UsageError.
std::vector<std::uint8_t> ParseKeyMasks(std::string_view text);
// "info tires:no-beep": the valid keys; the mask follows where it is not beep-once.
std::string FormatKeyMasks(std::span<const std::uint8_t> masks);

// The names of the lamps that the lamp word lights.
std::vector<std::string> ListLamps(std::uint32_t word);

// The names of a table as "a (0), b (1) or c (2)".
std::string ListNames(std::span<const number_name_t> names);
std::vector<std::string_view> SplitAt(std::string_view text, char separator);
// "1F".
std::string HexByte(std::uint8_t byte);
// Makes text safe for a terminal: replaces control characters and bytes that are not UTF-8, escapes quotes.
std::string Printable(std::string_view text);

}  // namespace host
