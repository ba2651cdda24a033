// Trimming, and the full-width forms of the host's text. The repair of ill-formed UTF-8 is compared with a
// reference in bench/exhaustive and fuzz/fix_utf8.cpp.
#include "src/text/utf8_text.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "src/core/operating_values.h"
#include "src/text/expand.h"
#include "tests/support/console_capture.h"
#include "tests/support/test_record.h"

namespace {

TEST(TrimSpacesTest, RemovesBlanksAndTabsFromBothEndsOnly) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"\t  ab c \t", "ab c"}, {"   ", ""},  {"", ""},    {"~x~", "~x~"},
      {" \n ", "\n"},          {"\ta", "a"}, {"a\t", "a"}};
  for (const auto& [text, trimmed] : cases) {
    std::string s = text;
    TrimSpaces(s);
    EXPECT_EQ(s, trimmed) << '"' << text << '"';
  }
}

TEST(ExpandSubCommandTest, SaysThatATextWasNotRepairedBefore) {
  RecordWithoutDatabase record;
  ConsoleCapture console;
  std::vector<unsigned> codepoints = {1};  // the function appends
  ExpandSubCommand(record, "ab\xC3", codepoints);
  EXPECT_EQ(codepoints, (std::vector<unsigned>{1, 'a', 'b'}));
  EXPECT_EQ(console.Err(), "***** PROGRAM LOGIC ERROR!  Text was not repaired before its expansion\n");
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
