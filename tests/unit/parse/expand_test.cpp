#include "parse/expand.h"

#include <gtest/gtest.h>

#include "core/operating_values.h"
#include "support/console_capture.h"
#include "support/test_record.h"

namespace {

constexpr int ENGLISH = 0;
constexpr int CHINESE = 3;

TEST(ExpandSubCommand, WidensAsciiInTheFullWidthLanguageOnly) {
  struct Text_t {
    int language;
    std::string text;
    std::vector<unsigned> codepoints;
    std::string out;
  };
  const std::vector<Text_t> texts = {
      {ENGLISH, "A\t\x7F \xC2\xB0\xE4\xB8\xAD", {1, 0x41, 0x09, 0x7F, 0x20, 0xB0, 0x4E2D}, ""},
      {CHINESE, "A ~\xC2\xB0\xF0\x9F\x98\x80", {1, 0xFF21, 0x3000, 0xFF5E, 0xB0, 0x1F600}, ""},
      {CHINESE,
       "\t\x1F\x7F",
       {1, 0xFF5B, 0xFF5B, 0x7F},
       "WARNING.  Valid NON_PRINTABLE 0x9\nWARNING.  Valid NON_PRINTABLE 0x1f\nWARNING.  Unexpandable 0x7f\n"},
      {ENGLISH, "ab\xC3", {1, 'a', 'b'}, ""}};  // was not repaired
  TestRecord record;
  for (const Text_t& text : texts) {
    SetLanguage(record, text.language);
    ConsoleCapture console;
    std::vector<unsigned> codepoints = {1};  // appends
    ExpandSubCommand(record, text.text, codepoints);
    EXPECT_EQ(codepoints, text.codepoints);
    EXPECT_EQ(console.Out(), text.out);
    EXPECT_EQ(console.Err().empty(), text.text.back() != '\xC3');
  }
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
