// The tables of names, whose texts and order the configuration, the host and the console's readers know. Where
// a change is meant, the sum here changes too.
#include "src/core/name_tables.h"

#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "src/core/command_counters.h"
#include "src/text/fields.h"
#include "src/text/full_width.h"

namespace {

// FNV-1a over all names, with a zero after each.
template <class Names>
std::uint64_t SumOf(const Names& names) {
  std::uint64_t sum = 0xCBF29CE484222325;
  const auto add = [&sum](char c) { sum = (sum ^ static_cast<unsigned char>(c)) * 0x100000001B3; };
  for (const std::string_view name : names) {
    for (const char c : name) add(c);
    add('\0');
  }
  return sum;
}

TEST(NameTablesTest, KeepTheirNamesAndTheirOrder) {
  EXPECT_EQ(SumOf(ACTION_ID_NAMES), 0x1842CD1EF0776093U);
  EXPECT_EQ(ActionName(0), ACTION_ID_NAMES[0]);
  EXPECT_EQ(SumOf(EVENT_ID_NAMES), 0xAC6F186740C3CA81U);
  EXPECT_EQ(SumOf(TARGET_KEY_NAMES), 0x94F6F3BEC17CFAF3U);
  EXPECT_EQ(SumOf(CMD_NAMES), 0xB1556BE4DD95B6BCU);
  EXPECT_EQ(SumOf(LANGUAGE_NAMES), 0xC133C65E67ED6616U);
  EXPECT_EQ(SumOf(FIELD_ID_NAMES), 0xE084C8644B9C94A7U);
  std::vector<std::string_view> dumped, fullWidth;
  for (const field_entry_t& field : FIELDS) dumped.push_back(field.dumpName);
  for (const full_width_char_t& entry : utf8_FullWidthCharMap) fullWidth.push_back(entry.unicodeName);
  EXPECT_EQ(SumOf(dumped), 0x6C3B2C949B495166U);
  EXPECT_EQ(SumOf(fullWidth), 0x9FED1977EF654D87U);
  EXPECT_EQ(SumOf(COMMAND_COUNTER_NAMES), 0x5A7C9124EDDCFFC2U);
}

}  // namespace
