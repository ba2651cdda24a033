// The fields of the host's text on the text grid, and the system's own text, which covers them.
#include "src/text/fields.h"

#include <tuple>

#include <gtest/gtest.h>
#include <utf8.h>

#include "src/core/operating_values.h"
#include "src/core/sharing.h"
#include "src/text/grid.h"
#include "src/text/system_text.h"
#include "src/text/utf8_text.h"
#include "tests/support/console_capture.h"
#include "tests/support/grid_text.h"
#include "tests/support/test_record.h"

namespace {

std::vector<unsigned> CodePoints(const std::string& text) {
  std::vector<unsigned> codepoints;
  for (auto at = text.begin(); at != text.end();) codepoints.push_back(utf8::next(at, text.end()));
  return codepoints;
}

// Fields and a grid that starts empty, with a visible blank.
class FieldsTest : public testing::Test {
 protected:
  FieldsTest() {
    InitAllFields();
    record_->spaceChar = '_';
  }

  void Put(unsigned char fieldId, const std::string& text) { UpdateField(record_, fieldId, CodePoints(text)); }

  std::string Line(std::size_t line) { return GridLine(record_, line); }

  RecordWithoutDatabase record_;
};

std::string Blanks(std::size_t count) {
  return std::string(count, '_');
}

TEST_F(FieldsTest, StandWhereTheLayoutSays) {
  // The host's field numbers. Each text stands alone on the grid.
  const std::vector<std::tuple<unsigned char, std::size_t, std::size_t>> places = {
      // field, line, column
      {1, 0, 0},  {8, 0, 0},  {16, 0, 0},  {17, 0, 19}, {5, 0, 38},  {12, 0, 38}, {18, 0, 38},
      {2, 1, 0},  {9, 1, 0},  {19, 1, 0},  {20, 1, 19}, {6, 1, 38},  {13, 1, 38}, {21, 1, 38},
      {4, 2, 0},  {10, 2, 0}, {22, 2, 0},  {23, 2, 19}, {7, 2, 38},  {14, 2, 38}, {24, 2, 38},
      {11, 3, 0}, {25, 3, 0}, {26, 3, 19}, {3, 3, 38},  {15, 3, 38}, {27, 3, 38}, {0, 0, 0}};
  for (const auto& [field, row, column] : places) {
    ClearAllFields();
    Put(field, "ab");
    FieldsToUTF8Lines(record_);
    std::string expected = Blanks(40);
    expected.replace(column, 2, "ab");
    for (std::size_t line = 0; line < 4; ++line) {
      EXPECT_EQ(Line(line), line == row ? expected : Blanks(40)) << "field " << int{field};
    }
  }
}

TEST_F(FieldsTest, LaterStepsWinWhereTextsOverlap) {
  // The fields of each line in their order. Each text is shorter than the one before at its side.
  const std::vector<std::vector<unsigned char>> lines = {{1, 8, 16, 17, 5, 12, 18},
                                                         {2, 9, 19, 20, 6, 13, 21},
                                                         {4, 10, 22, 23, 7, 14, 24},
                                                         {11, 25, 26, 3, 15, 27}};
  const std::pair<std::string, std::string> centers[] = {
      {std::string(34, '4'), "333" + std::string(30, '4') + "5677777"},
      {"4", "3333321" + Blanks(12) + "4" + Blanks(13) + "5677777"}};
  for (const auto& [center, shown] : centers) {
    const std::vector<std::string> texts = {"1111111", "222222", "33333", center, "5555555", "666666", "77777"};
    ClearAllFields();
    for (const auto& fields : lines) {
      auto text = texts.end() - static_cast<std::ptrdiff_t>(fields.size());
      for (const unsigned char field : fields) Put(field, *text++);
    }
    FieldsToUTF8Lines(record_);
    for (std::size_t line = 0; line < 3; ++line) EXPECT_EQ(Line(line), shown);
    EXPECT_EQ(Line(3), std::string(shown).replace(6, 1, 1, shown[6] == '1' ? '_' : '4'));  // no field 1
  }
}

TEST_F(FieldsTest, CenterRoundsDownAndTextsOfOneFieldAreJoinedByABlank) {
  Put(17, "ab");
  Put(17, "cd");
  FieldsToUTF8Lines(record_);
  EXPECT_EQ(Line(0), Blanks(17) + "ab_cd" + Blanks(18));

  Put(17, "");  // an empty text adds the blank too
  EXPECT_EQ(FieldToText(fieldLine1Center), "ab_cd_");
  Put(23, "");  // an empty field gets no blank
  EXPECT_EQ(FieldToText(fieldLine3Center), "");
}

TEST_F(FieldsTest, RunOnFromColumn0WhenLongerThanTheLine) {
  const std::string text = "0123456789012345678901234567890123456789ABCDE";
  const std::vector<std::pair<int, std::string>> messages = {
      {JUSTIFY_LEFT, "WARNING!  Left justification truncation"},
      {JUSTIFY_CENTER, "ERROR!  Center justification error"},
      {JUSTIFY_RIGHT, "ERROR!  Right justification error"}};
  for (const auto& [justification, message] : messages) {
    SCOPED_TRACE(message);
    InitializeUTF8Display(record_);
    ConsoleCapture console;
    const Field_t field{19, CodePoints(text)};
    FieldToUTF8Line(record_, field, &record_->utf8Display[1], justification);
    EXPECT_EQ(console.Err(), "Orvik: " + message + ", field length of 45 exceeds maximum length of 40\n");
    EXPECT_EQ(Line(0), Blanks(40));
    EXPECT_EQ(Line(1), text.substr(0, 40));
    EXPECT_EQ(Line(2), "ABCDE" + Blanks(35));
  }
}

TEST_F(FieldsTest, FillHiddenCellsAndAreCutAtTheEndOfTheGridAndOfALineThatStandsAlone) {
  const ConsoleCapture console;
  const Field_t field{16, CodePoints(std::string(256, 'x'))};
  SetLCDResolution(record_, 4, 24);
  InitializeUTF8Display(record_);
  FieldToUTF8Line(record_, {16, CodePoints(std::string(42, 'x'))}, &record_->utf8Display[0], JUSTIFY_LEFT);
  EXPECT_EQ(GridCells(record_, 0, 40), std::string(40, 'x'));
  EXPECT_EQ(Line(1), "xx" + Blanks(22));
  FieldToUTF8Line(record_, field, &record_->utf8Display[3], JUSTIFY_LEFT);
  EXPECT_EQ(Line(3), std::string(24, 'x'));

  std::array<UTF8Line_t, 2> own{};
  FieldToUTF8Line(record_, field, own.data(), JUSTIFY_LEFT);
  EXPECT_EQ(own[0].cells[39].codePoint, 'x');
  EXPECT_EQ(own[1].cells[0].codePoint, 0U);
}

TEST_F(FieldsTest, RefuseAnUnknownJustificationOrNumberAndMoreThanAMessageCarries) {
  InitializeUTF8Display(record_);
  ConsoleCapture console;
  for (const int justification : {3, -1}) {
    FieldToUTF8Line(record_, {19, CodePoints("abc")}, &record_->utf8Display[0], justification);
  }
  for (const int number : {31, 255}) Put(static_cast<unsigned char>(number), "abc");
  Put(2, std::string(250, 'x'));
  Put(2, std::string(10, 'y'));
  EXPECT_EQ(console.Err(),
            "Orvik: ERROR!  Unknown justification code 3\nOrvik: ERROR!  Unknown justification code -1\n"
            "Orvik: ERROR!  Unknown Field ID 31\nOrvik: ERROR!  Unknown Field ID 255\n"
            "Orvik: ERROR!  Field overflow.  FIELD_ID_JIB, size=261, max=256\n");
  EXPECT_EQ(Line(0), Blanks(40));
  EXPECT_TRUE(fieldLast.text.empty());
  EXPECT_EQ(fieldJib.text.size(), MAX_FIELD_TEXT);
}

TEST_F(FieldsTest, LCDRunsOverAllOthersFromLineToLine) {
  Put(16, "left");
  Put(21, "right");
  Put(0, std::string(50, 'x'));
  FieldsToUTF8Lines(record_);
  EXPECT_EQ(Line(0), std::string(40, 'x'));
  EXPECT_EQ(Line(1), std::string(10, 'x') + Blanks(25) + "right");

  SetLCDResolution(record_, 4, 24);
  Put(0, std::string(120, 'y'));  // 171 characters with the blank between: more than 4 × 24
  FieldsToUTF8Lines(record_);
  EXPECT_EQ(Line(2), "xx_" + std::string(21, 'y'));
  EXPECT_EQ(Line(3), std::string(24, 'y'));
}

TEST_F(FieldsTest, SurviveAnyGeometry) {
  const ConsoleCapture console;
  for (unsigned char id = 0; id < FIELD_COUNT; ++id) Put(id, std::string(256, 'x'));
  for (const int rows : {-1, 0, 1, 4, 5, 1000}) {
    for (const int columns : {-1, 0, 1, 39, 40, 41, 1000}) {
      SetLCDResolution(record_, rows, columns);
      FieldsToUTF8Lines(record_);
      DumpUTF8LineAll(record_);
      EXPECT_TRUE(SameUTF8Line(record_, &record_->utf8Display[0], &record_->utf8Display[0]))
          << rows << " × " << columns;
    }
  }
}

TEST_F(FieldsTest, LinesAreTheSameWhereTheirShownCellsAre) {
  UTF8Line_t a;
  UTF8Line_t b;
  SetLCDResolution(record_, 4, 24);
  b.cells[24].codePoint = 1;
  EXPECT_TRUE(SameUTF8Line(record_, &a, &b));
  b.cells[23].codePoint = 1;
  EXPECT_FALSE(SameUTF8Line(record_, &a, &b));
}

TEST_F(FieldsTest, GiveStowedAndErectedTextAsUTF8) {
  Put(29, "Aufgerichtet \xE4\xB8\xAD\xF0\x9F\x98\x80");
  EXPECT_EQ(ErectedText(record_), "Aufgerichtet \xE4\xB8\xAD\xF0\x9F\x98\x80");
  EXPECT_EQ(StowedText(record_), "");
  fieldStowed.text = {'a', 0xD800, 'b'};
  EXPECT_EQ(StowedText(record_), std::string("a\xEF\xBC\x9F") + "b");
}

TEST_F(FieldsTest, DumpTheFlashTextByItsLowBytesOnEveryUpdate) {
  ConsoleCapture console;
  Put(28, "Hi \xD1\x81\xC2\xB0\x09");
  EXPECT_EQ(console.Out(), "Flash, fid=28, size=6\n    'Hi A0x00b0, 0x0009, '\n");
}

// The host has filled two fields; the system's own text covers them.
class SystemTextTest : public FieldsTest {
 protected:
  SystemTextTest() {
    record_->spaceChar = ' ';
    record_->blankChar = ' ';
    Put(16, "host");
    Put(30, "stowed");
    FieldsToUTF8Lines(record_);
  }

  // The shown cells of a line, trimmed.
  std::string Text(std::size_t line) {
    std::string text = Line(line);
    TrimSpaces(text);
    return text;
  }

  void HostSends(const std::string& text) {
    const MutexGuard guard(record_->displayMutex);
    ClearAllFields();
    Put(16, text);
    FieldsToUTF8Lines(record_);
    HostTextArrived(record_);
  }
};

TEST_F(SystemTextTest, EndsAtOnceWhenTheHostSendsNewTextOrTheFieldsStartAnew) {
  ShowSystemText(record_, "message");
  EXPECT_EQ(StowedText(record_), "");
  HostSends("n");
  EXPECT_FALSE(SystemTextShown());
  EXPECT_EQ(Text(0), "n");
  EndSystemText(record_);  // restores nothing, because the host's text ended the system text
  EXPECT_EQ(Text(0), "n");

  ShowSystemText(record_, "second");  // saves the new text
  EndSystemText(record_);
  EXPECT_EQ(Text(0), "n");

  ShowSystemText(record_, "third");
  InitAllFields();
  ForgetSystemText();  // as at each initialisation
  EXPECT_FALSE(SystemTextShown());
  ShowSystemText(record_, "start");
  EndSystemText(record_);
  EXPECT_EQ(Text(0), "");
}

TEST_F(SystemTextTest, IsSplitAtABlankWhenLongerThanALine) {
  const std::vector<std::array<std::string, 3>> splits = {{"abcd efghi", "abcd efghi", ""},
                                                          {"abcd efghij", "abcd", "efghij"},
                                                          {"abcdefghij klm", "abcdefghij", "klm"},
                                                          {"abcdefghijklm", "abcdefghij", "klm"}};
  SetLCDResolution(record_, 4, 10);
  for (const auto& [text, line2, line3] : splits) {
    ShowSystemText(record_, text);
    EXPECT_EQ(Text(1), line2) << text;
    EXPECT_EQ(Text(2), line3) << text;
    EndSystemText(record_);
  }
}

TEST_F(SystemTextTest, IsWidenedInTheFullWidthLanguage) {
  SetLanguage(record_, 3);
  ShowSystemText(record_, "LOST COMMUNICATIONS WITH COMPUTER!");
  EXPECT_EQ(record_->utf8Display[1].cells[0].codePoint, 0xFF2CU);  // "L": 24 characters, the whole line
  EXPECT_EQ(record_->utf8Display[1].cells[4].codePoint, 0x3000U);
  EXPECT_EQ(record_->utf8Display[2].cells[7].codePoint, 0xFF23U);  // "COMPUTER!", (24 - 9) / 2 cells in
  EndSystemText(record_);
}

}  // namespace
