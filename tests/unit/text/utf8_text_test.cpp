// Repair of ill-formed UTF-8, trimming, and the full-width forms of the host's text.
#include "src/text/utf8_text.h"

#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "src/core/operating_values.h"
#include "src/text/expand.h"
#include "tests/support/console_capture.h"
#include "tests/support/test_record.h"

namespace {

using namespace std::string_literals;

// "?" stands for the mark U+FF1F.
std::string WithMarks(const std::string& text) {
  std::string marked;
  for (const char c : text) c == '?' ? marked.append("\xEF\xBC\x9F") : marked.append(1, c);
  return marked;
}

TEST(FixUTF8StringTest, MarksEachIllFormedSequence) {
  const std::tuple<const char*, std::string, std::string> repairs[] = {
      {"empty", "", ""},
      {"one to four bytes", "a\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80z", "a\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80z"},
      {"a zero byte is a character", "a\0b"s, "a\0b"s},
      {"smallest and largest of each length", "\xC2\x80\xDF\xBF\xE0\xA0\x80\xF0\x90\x80\x80\xF4\x8F\xBF\xBF",
       "\xC2\x80\xDF\xBF\xE0\xA0\x80\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
      {"both sides of the surrogates", "\xED\x9F\xBF\xEE\x80\x80", "\xED\x9F\xBF\xEE\x80\x80"},
      {"U+FFFD stays", "\xEF\xBF\xBD", "\xEF\xBF\xBD"},
      {"lone continuation", "\x80", "?"},
      {"two lone continuations", "\x80\xBF", "??"},
      {"F8 to FF lead nothing", "\xF8\xFF", "??"},
      {"a byte that does not follow", "\xC3"s + "A", "?A"},
      {"the third byte does not follow", "\xE4\xB8"s + "A", "?A"},
      {"a lead follows a lead", "\xC3\xC3\xA9", "?\xC3\xA9"},
      {"overlong zero", "\xC0\x80", "?"},
      {"overlong in two, three, four", "\xC1\xBF\xE0\x9F\xBF\xF0\x8F\xBF\xBF", "???"},
      {"surrogates", "\xED\xA0\x80\xED\xBF\xBF", "??"},
      {"U+FFFE and U+FFFF", "\xEF\xBF\xBE\xEF\xBF\xBF", "??"},
      {"above U+10FFFF", "\xF4\x90\x80\x80\xF7\xBF\xBF\xBF", "??"},
      {"a bad sequence takes the continuations behind it too", "\xC0\x80\x80\x80z", "?z"},
      {"cut after its only byte", "a\xC3", "a??"},
      {"cut after its second byte of three", "a\xE4\xB8", "a???"},
      {"cut after its third byte of four", "a\xF0\x9F\x98", "a????"},
      {"a byte that does not follow, near the end", "\xE4"s + "A", "?A"},
      {"the same behind a continuation", "\xF0\x80"s + "A", "?A"},
  };
  for (const auto& [name, given, repaired] : repairs) {
    std::string text = given;
    FixUTF8String(text);
    EXPECT_EQ(text, WithMarks(repaired)) << name;
  }
}

TEST(TrimSpacesTest, RemovesBlanksAndTabsFromBothEndsOnly) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"\t  ab c \t", "ab c"}, {"   ", ""}, {"", ""}, {"x", "x"}, {" \n ", "\n"}, {"\ta", "a"}, {"a\t", "a"}};
  for (const auto& [text, trimmed] : cases) {
    std::string s = text;
    TrimSpaces(s);
    EXPECT_EQ(s, trimmed) << '"' << text << '"';
  }
}

TEST(ExpandSubCommandTest, WidensAsciiInTheFullWidthLanguageOnly) {
  const std::tuple<int, std::string, std::vector<unsigned>, std::string> texts[] = {
      {0, "A\t\x7F \xC2\xB0\xE4\xB8\xAD", {1, 0x41, 0x09, 0x7F, 0x20, 0xB0, 0x4E2D}, ""},
      {3, "A ~\xC2\xB0\xF0\x9F\x98\x80", {1, 0xFF21, 0x3000, 0xFF5E, 0xB0, 0x1F600}, ""},
      {3,
       "\t\x1F\x7F",
       {1, 0xFF5B, 0xFF5B, 0x7F},
       "WARNING.  Valid NON_PRINTABLE 0x9\nWARNING.  Valid NON_PRINTABLE 0x1f\nWARNING.  Unexpandable 0x7f\n"},
      {0, "ab\xC3", {1, 'a', 'b'}, ""}};  // text that was not repaired before
  RecordWithoutDatabase record;
  for (const auto& [language, text, expected, out] : texts) {
    SCOPED_TRACE(text);
    SetLanguage(record, language);
    ConsoleCapture console;
    std::vector<unsigned> codepoints = {1};  // the function appends
    ExpandSubCommand(record, text, codepoints);
    EXPECT_EQ(codepoints, expected);
    EXPECT_EQ(console.Out(), out);
    EXPECT_EQ(console.Err().empty(), text.back() != '\xC3');
  }
}

TEST(ExpandSubCommandTest, WidensEachPrintableCharacterToItsOwn) {
  RecordWithoutDatabase record;
  SetLanguage(record, 3);
  std::string printable;
  std::vector<unsigned> expected;
  for (unsigned c = '!'; c <= '~'; ++c) {
    printable.push_back(static_cast<char>(c));
    expected.push_back(c - '!' + 0xFF01);
  }
  std::vector<unsigned> codepoints;
  ExpandSubCommand(record, printable, codepoints);
  EXPECT_EQ(codepoints, expected);
}

}  // namespace
