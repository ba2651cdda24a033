// Values in words: what a person writes on the command line, and what the decoder prints.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/protocol/protocol.h"

namespace host {

// Null where the command has no such field.
const field_t* FindField(const command_t& command, std::string_view name);

// A number ("12300", "-3.5", "0x1F") or one of the field's names ("metric"); lamps by name with commas between.
// Throws UsageError saying what would be right; the number must fit the field.
double ParseValue(const field_t& field, std::string_view text);
// The value's name where it has one, else the shortest number that reads back the same. Lamps by name, "none".
std::string FormatValue(const field_t& field, double value);

// A factor of time from 0.001 to `fastest`; 0 for "max". Throws UsageError.
double ParseSpeed(const std::string& text, double fastest);

// Masks of the 23 host keys from "info,tires:no-beep", "all" or "none"; keys that are not named are not valid.
std::vector<std::uint8_t> ParseKeyMasks(std::string_view text);
// "info tires:no-beep": the keys that are valid, with their mask unless it is the usual one.
std::string FormatKeyMasks(std::span<const std::uint8_t> masks);

std::vector<std::string> ListLamps(std::uint32_t word);

// Names of a table as "a, b or c".
std::string ListNames(std::span<const number_name_t> names);
std::vector<std::string_view> SplitAt(std::string_view text, char separator);
// The candidate that differs least from `name`; empty when none is near.
std::string_view Nearest(std::string_view name, std::span<const std::string_view> candidates);
// Safe for a terminal: control characters and what is not UTF-8 are replaced, quotes escaped.
std::string Printable(std::string_view text);

}  // namespace host
