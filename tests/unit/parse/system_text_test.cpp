#include <gtest/gtest.h>

#include "core/mutex_guard.h"
#include "core/operating_values.h"
#include "parse/fields.h"
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

  // The shown cells of a line without the blanks around them; code points above 0xFF as "#".
  std::string Line(std::size_t line) {
    std::string text;
    for (int i = 0; i < record->lcdColumns; ++i) {
      const auto c = record->utf8Display[line].cells[static_cast<std::size_t>(i)].codePoint;
      text.push_back(c > 0xFF ? '#' : static_cast<char>(c));
    }
    text.erase(text.find_last_not_of(' ') + 1);
    return text.substr(std::min(text.find_first_not_of(' '), text.size()));
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

TEST_F(SystemText, EndsAtOnceWhenTheHostSendsNewText) {
  ShowSystemText(record, "message");
  HostSends('n');
  EXPECT_FALSE(SystemTextShown());
  EXPECT_EQ(Line(0), "n");
  EndSystemText(record);  // nothing comes back
  EXPECT_EQ(Line(0), "n");

  ShowSystemText(record, "second");  // keeps the new text
  EndSystemText(record);
  EXPECT_EQ(Line(0), "n");
}

TEST_F(SystemText, IsForgottenWhenTheFieldsStartAnew) {
  ShowSystemText(record, "message");
  InitAllFields();
  EXPECT_FALSE(SystemTextShown());
  ShowSystemText(record, "start");
  EndSystemText(record);
  EXPECT_EQ(Line(0), "");
}

TEST_F(SystemText, IsSplitAtABlankWhenLongerThanALine) {
  struct Split_t {
    int columns;
    std::string text;
    std::string line2;
    std::string line3;
  };
  const std::vector<Split_t> splits = {
      {10, "abcd efghi", "abcd efghi", ""},
      {10, "abcd efghij", "abcd", "efghij"},
      {10, "abcdefghij klm", "abcdefghij", "klm"},
      {10, "abcdefghijklm", "abcdefghij", "klm"},
  };
  for (const Split_t& split : splits) {
    SetLCDResolution(record, 4, split.columns);
    ShowSystemText(record, split.text);
    EXPECT_EQ(Line(1), split.line2) << split.text;
    EXPECT_EQ(Line(2), split.line3) << split.text;
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

TEST_F(SystemText, StringToUTF8DisplayLeavesOneFieldOnly) {
  StringToUTF8Display(record, "bro\xC3ken", 27);
  EXPECT_EQ(Line(0), "");
  EXPECT_EQ(Line(3), "bro#ken");
  EXPECT_FALSE(SystemTextShown());
}

}  // namespace
