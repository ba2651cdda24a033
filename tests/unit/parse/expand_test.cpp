#include "parse/expand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/operating_values.h"
#include "parse/full_width.h"
#include "support/console_capture.h"
#include "support/test_record.h"

namespace {

using testing::ElementsAre;

constexpr int CHINESE = 3;

std::vector<unsigned> Expand(orvikData_t* data, const std::string& text) {
  std::vector<unsigned> codepoints;
  ExpandSubCommand(data, text, codepoints);
  return codepoints;
}

TEST(FullWidthCharMap, HasEachPrintableAsciiCharacterInOrder) {
  std::uint8_t octet = 0x20;
  for (const FullWidthChar_t& entry : utf8_FullWidthCharMap) {
    EXPECT_EQ(entry.octet, octet);
    EXPECT_EQ(entry.codePoint, octet == 0x20 ? 0x3000U : octet + 0xFEE0U);
    ++octet;
  }
  EXPECT_EQ(octet, 0x7F);
  EXPECT_EQ(utf8_FullWidthCharMap.front().unicodeName, "IDEOGRAPHIC SPACE");
  EXPECT_EQ(utf8_FullWidthCharMap.back().unicodeName, "FULLWIDTH TILDE");
  EXPECT_EQ(FindFullWidthChar(0x7F), nullptr);
  EXPECT_EQ(FindFullWidthChar(0x1F), nullptr);
}

TEST(ExpandSubCommand, StoresTextUnchangedInANarrowLanguage) {
  TestRecord record;
  ConsoleCapture console;
  EXPECT_THAT(Expand(record, "A\t\x7F \xC2\xB0\xE4\xB8\xAD"),
              ElementsAre(0x41, 0x09, 0x7F, 0x20, 0xB0, 0x4E2D));
  EXPECT_EQ(console.Out() + console.Err(), "");
}

TEST(ExpandSubCommand, WidensAsciiInTheFullWidthLanguage) {
  TestRecord record;
  SetLanguage(record, CHINESE);
  ConsoleCapture console;
  EXPECT_THAT(Expand(record, "A ~\xC2\xB0\xF0\x9F\x98\x80"),
              ElementsAre(0xFF21, 0x3000, 0xFF5E, 0xB0, 0x1F600));
  EXPECT_THAT(Expand(record, "\t\x1F\x7F"), ElementsAre(0xFF5B, 0xFF5B, 0x7F));
  EXPECT_EQ(console.Out(),
            "WARNING.  Valid NON_PRINTABLE 0x9\n"
            "WARNING.  Valid NON_PRINTABLE 0x1f\n"
            "WARNING.  Unexpandable 0x7f\n");
  EXPECT_EQ(console.Err(), "");
}

TEST(ExpandSubCommand, AppendsAndStopsAtTextThatWasNotRepaired) {
  TestRecord record;
  ConsoleCapture console;
  std::vector<unsigned> codepoints = {1};
  ExpandSubCommand(record, "ab\xC3", codepoints);
  EXPECT_THAT(codepoints, ElementsAre(1, 'a', 'b'));
  EXPECT_NE(console.Err(), "");
}

TEST(ProcessSingleOctet, ClassifiesEveryOctet) {
  TestRecord record;
  SetLanguage(record, CHINESE);
  const ConsoleCapture console;
  for (unsigned octet = 0; octet <= 0xFF; ++octet) {
    unsigned codePoint = octet;
    const int result = ProcessSingleOctet(record, static_cast<unsigned char>(octet), &codePoint);
    const unsigned expected = octet < 0x20    ? 0xFF5B
                              : octet == 0x20 ? 0x3000
                              : octet < 0x7F  ? octet + 0xFEE0
                              : octet == 0x7F ? 0x7F
                                              : 0xFF5D;
    EXPECT_EQ(codePoint, expected) << octet;
    EXPECT_EQ(result, octet >= 0x20 && octet < 0x7F ? 3 : 1) << octet;
  }
}

}  // namespace
