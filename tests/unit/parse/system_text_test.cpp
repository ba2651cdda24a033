#include <gtest/gtest.h>

#include "core/mutex_guard.h"
#include "core/operating_values.h"
#include "parse/fields.h"
#include "parse/grid_text.h"
#include "parse/utf8_text.h"
#include "support/test_record.h"

namespace {

class SystemText : public testing::Test {
 protected:
  SystemText() {
    InitAllFields();
    record->spaceChar = ' ';
    record->blankChar = ' ';
    UpdateField(record, 16, {'h', 'o', 's', 't'});
    UpdateField(record, 30, {'s', 't', 'o', 'w', 'e', 'd'});
    FieldsToUTF8Lines(record);
  }

  // The shown cells of a line without the blanks around them.
  std::string Line(std::size_t line) {
    std::string text = GridLine(record, line);
    TrimSpaces(text);
    return text;
  }

  void HostSends(unsigned codePoint) {
    const MutexGuard guard(record->displayMutex);
    ClearAllFields();
    UpdateField(record, 16, {codePoint});
    FieldsToUTF8Lines(record);
    HostTextArrived(record);
  }

  TestRecord record;
};

TEST_F(SystemText, ReplacesTheHostsTextUntilItEnds) {
  ShowSystemText(record, "LOST COMMUNICATIONS WITH COMPUTER!");
  EXPECT_TRUE(SystemTextShown());
  EXPECT_EQ(Line(0), "");
  EXPECT_EQ(Line(1), "LOST COMMUNICATIONS WITH COMPUTER!");
  EXPECT_EQ(StowedText(record), "");

  ShowSystemText(record, "again");  // keeps what it kept first
  EXPECT_EQ(Line(1), "again");
  EndSystemText(record);
  EXPECT_FALSE(SystemTextShown());
  EXPECT_EQ(Line(0), "host");
  EXPECT_EQ(Line(1), "");
  EXPECT_EQ(StowedText(record), "stowed");
}

TEST_F(SystemText, EndsAtOnceWhenTheHostSendsNewTextOrTheFieldsStartAnew) {
  ShowSystemText(record, "message");
  HostSends('n');
  EXPECT_FALSE(SystemTextShown());
  EXPECT_EQ(Line(0), "n");
  EndSystemText(record);  // nothing comes back
  EXPECT_EQ(Line(0), "n");

  ShowSystemText(record, "second");  // keeps the new text
  EndSystemText(record);
  EXPECT_EQ(Line(0), "n");

  ShowSystemText(record, "third");
  InitAllFields();  // the fields start anew: all is forgotten
  EXPECT_FALSE(SystemTextShown());
  ShowSystemText(record, "start");
  EndSystemText(record);
  EXPECT_EQ(Line(0), "");
}

TEST_F(SystemText, IsSplitAtABlankWhenLongerThanALine) {
  const std::vector<std::array<std::string, 3>> splits = {{"abcd efghi", "abcd efghi", ""},
                                                          {"abcd efghij", "abcd", "efghij"},
                                                          {"abcdefghij klm", "abcdefghij", "klm"},
                                                          {"abcdefghijklm", "abcdefghij", "klm"}};
  SetLCDResolution(record, 4, 10);
  for (const auto& [text, line2, line3] : splits) {
    ShowSystemText(record, text);
    EXPECT_EQ(Line(1), line2) << text;
    EXPECT_EQ(Line(2), line3) << text;
    EndSystemText(record);
  }
}

TEST_F(SystemText, IsWidenedInTheFullWidthLanguage) {
  SetLanguage(record, 3);
  ShowSystemText(record, "LOST COMMUNICATIONS WITH COMPUTER!");
  EXPECT_EQ(record->utf8Display[1].cells[0].codePoint, 0xFF2CU);  // "L": 24 characters, the whole line
  EXPECT_EQ(record->utf8Display[1].cells[4].codePoint, 0x3000U);
  EXPECT_EQ(record->utf8Display[2].cells[7].codePoint, 0xFF23U);  // "COMPUTER!", (24 - 9) / 2 cells in
  EndSystemText(record);
}

}  // namespace
