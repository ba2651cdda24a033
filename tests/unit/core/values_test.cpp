#include <array>
#include <cmath>

#include <gtest/gtest.h>

#include "core/command_counters.h"
#include "core/operating_values.h"
#include "support/console_capture.h"
#include "support/test_record.h"

namespace {

TEST(Setters, RoundCapacityDownAndLoadHalfUp) {
  TestRecord record;
  struct case_t {
    double sent, capacity, load;
  };
  for (const case_t& c : {case_t{12399.0, 12300, 12400},
                          {12350.0, 12300, 12400},
                          {12349.0, 12300, 12300},
                          {0.0, 0, 0},
                          {49.9, 0, 0},
                          {50.0, 0, 100},
                          {-150.0, -100, -100},
                          {1e30, 1e30, 1e30}}) {
    SetCapacity(record, c.sent);
    SetLoad(record, c.sent);
    EXPECT_DOUBLE_EQ(record->capacity, c.capacity) << c.sent;
    EXPECT_DOUBLE_EQ(record->load, c.load) << c.sent;
    EXPECT_DOUBLE_EQ(ParameterValue("OrvikCapacity"), c.capacity);
    EXPECT_DOUBLE_EQ(ParameterValue("OrvikLoad"), c.load);
  }
}

TEST(Setters, TakeTheGridAndItsBlankFromLanguageAndSystemVersion) {
  TestRecord record;
  struct case_t {
    int language;
    double osVersion;
    int columns;
    std::uint32_t blank, underscore, valid, invalid;
  };
  for (const case_t& c : {case_t{0, 6.5, 40, 0xA0, 0x5F, 0x7B, 0x7D},
                          {5, 2 + 3 / 10.0, 40, 0x20, 0x5F, 0x7B, 0x7D},
                          {4, 2.4, 40, 0xA0, 0x5F, 0x7B, 0x7D},
                          {3, 2.3, 24, 0x3000, 0xFF3F, 0xFF5B, 0xFF5D}}) {
    record->osVerRev = c.osVersion;
    SetLanguage(record, c.language);
    EXPECT_EQ(record->lcdSize, 4 * c.columns);
    EXPECT_EQ(record->blankChar, c.blank);
    EXPECT_EQ(record->spaceChar, c.blank);
    EXPECT_EQ(record->underscoreChar, c.underscore);
    EXPECT_EQ(record->validNonPrintableChar, c.valid);
    EXPECT_EQ(record->invalidNonPrintableChar, c.invalid);
    EXPECT_EQ(record->expandFullWidth, c.language == 3 ? 1 : 0);
  }
}

TEST(Setters, RefuseIllegalUnitsAndLanguages) {
  TestRecord record;
  SetLanguage(record, 4);
  SetUnits(record, 1);
  ConsoleCapture console;
  SetLanguage(record, 6);
  SetUnits(record, 2);
  EXPECT_EQ(console.Err(), "Orvik: ERROR!  Illegal language id 6\nOrvik: ERROR!  Illegal units id 2\n");
  EXPECT_EQ(record->language, 4);
  EXPECT_EQ(record->units, 1);
}

TEST(LampWord, GivesTheValueWhereAnyBitOfTheMaskIsSet) {
  TestRecord record;
  struct case_t {
    unsigned word;
    int mask, value;
    double expected;
  };
  for (const case_t& c : {case_t{4, 4, 7, 7.0},
                          {0, 4, 7, 0.0},
                          {0x80000000U, static_cast<int>(0x80000000U), 1, 1.0},
                          {0x0C, 0x06, -3, -3.0}}) {
    SetLEDState(record, c.word);
    EXPECT_EQ(GetLEDState(record, c.mask, c.value), c.expected);
  }
}

TEST(CommandCounters, PublishTheTotalAndPrintNameAndCount) {
  TestRecord record;
  CommandCounts[COUNT_TOTAL_CMDS] = 41;
  CommandCounts[26] = 7;
  IncrementCommandCounter(record, COUNT_TOTAL_CMDS);
  IncrementCommandCounter(record, 31);  // outside the table
  EXPECT_EQ(ParameterValue("OrvikTotalHX7Commands"), 42.0);
  ConsoleCapture console;
  DumpCommandCounter(26);
  EXPECT_EQ(console.Out(), "CMD8    - Set Command Protocol Version : 7\n");
}

TEST(Dates, AreReformattedAndUnknownMonthsAreMinusOne) {
  struct case_t {
    const char *in, *out;
  };
  for (const case_t& c : {case_t{"Aug 27 2013", "08/27/13"},
                          {"Jan  7 2024", "01/07/24"},
                          {"Dec 31 1999", "12/31/99"},
                          {"Foo 01 2000", "-1/01/00"},
                          {"", "-1/00/00"}}) {
    std::array<char, 32> out{};
    FormatDate(out.data(), c.in);
    EXPECT_STREQ(out.data(), c.out);
  }
  std::array<char, 4> text{};
  StringToCharArray(text.data(), "longer than that", 4);
  EXPECT_STREQ(text.data(), "lon");
}

}  // namespace
