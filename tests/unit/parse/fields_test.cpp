#include "parse/fields.h"

#include <gtest/gtest.h>
#include <utf8.h>

#include "core/operating_values.h"
#include "support/console_capture.h"
#include "support/test_record.h"

namespace {

std::vector<unsigned> CodePoints(const std::string& text) {
  std::vector<unsigned> codepoints;
  for (auto at = text.begin(); at != text.end();) codepoints.push_back(utf8::next(at, text.end()));
  return codepoints;
}

// Fields and a grid that starts empty, with a visible blank.
class Fields : public testing::Test {
 protected:
  Fields() {
    InitAllFields();
    record->spaceChar = '_';
  }

  void Put(unsigned char fieldId, const std::string& text) { UpdateField(record, fieldId, CodePoints(text)); }

  // A line as text: the shown cells, or all of them.
  std::string Line(std::size_t line) {
    return Cells(line, static_cast<std::size_t>(record->lcdColumns.Load()));
  }
  std::string Cells(std::size_t line, std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
      const auto c = record->utf8Display[line].cells[i].codePoint;
      text.push_back(c == 0 ? '.' : static_cast<char>(c));
    }
    return text;
  }

  TestRecord record;
};

std::string Blanks(std::size_t count) {
  return std::string(count, '_');
}

TEST_F(Fields, StandWhereTheLayoutSays) {
  // Numbers as the host sends them; each text alone on the grid.
  struct Place_t {
    unsigned char field;
    std::size_t line;
    std::size_t column;
  };
  const std::vector<Place_t> places = {
      {1, 0, 0},  {8, 0, 0},  {16, 0, 0},  {17, 0, 19}, {5, 0, 38},  {12, 0, 38}, {18, 0, 38},
      {2, 1, 0},  {9, 1, 0},  {19, 1, 0},  {20, 1, 19}, {6, 1, 38},  {13, 1, 38}, {21, 1, 38},
      {4, 2, 0},  {10, 2, 0}, {22, 2, 0},  {23, 2, 19}, {7, 2, 38},  {14, 2, 38}, {24, 2, 38},
      {11, 3, 0}, {25, 3, 0}, {26, 3, 19}, {3, 3, 38},  {15, 3, 38}, {27, 3, 38}, {0, 0, 0}};
  for (const Place_t& place : places) {
    ClearAllFields();
    Put(place.field, "ab");
    FieldsToUTF8Lines(record);
    std::string expected = Blanks(40);
    expected.replace(place.column, 2, "ab");
    for (std::size_t line = 0; line < 4; ++line) {
      EXPECT_EQ(Line(line), line == place.line ? expected : Blanks(40)) << "field " << int{place.field};
    }
  }
}

TEST_F(Fields, LaterStepsWinWhereTextsOverlap) {
  // Longer texts first in each line's order: every later one leaves a stub of the earlier.
  Put(1, "1111111");
  Put(8, "222222");
  Put(16, "33333");
  Put(17, std::string(34, '4'));
  Put(5, "5555555");
  Put(12, "666666");
  Put(18, "77777");
  Put(11, "aaaa");
  Put(25, "bbb");
  Put(26, "c");
  Put(3, "dddd");
  Put(15, "eee");
  Put(27, "ff");
  FieldsToUTF8Lines(record);
  EXPECT_EQ(Line(0), "333" + std::string(30, '4') + "5677777");
  EXPECT_EQ(Line(3), "bbba" + Blanks(15) + "c" + Blanks(16) + "deff");
  EXPECT_EQ(Line(1), Blanks(40));
}

TEST_F(Fields, CenterRoundsDownAndTextsOfOneFieldAreJoinedByABlank) {
  Put(17, "ab");
  Put(17, "cd");
  FieldsToUTF8Lines(record);
  EXPECT_EQ(Line(0), Blanks(17) + "ab_cd" + Blanks(18));

  Put(17, "");  // the blank comes even if nothing follows
  EXPECT_EQ(FieldToText(fieldLine1Center), "ab_cd_");
  Put(23, "");  // and not where nothing stands yet
  EXPECT_EQ(FieldToText(fieldLine3Center), "");
}

TEST_F(Fields, RunOnFromColumn0WhenLongerThanTheLine) {
  const std::string text = "0123456789012345678901234567890123456789ABCDE";
  struct Case_t {
    int justification;
    const char* message;
  };
  const std::vector<Case_t> cases = {
      {JUSTIFY_LEFT,
       "Orvik: WARNING!  Left justification truncation, field length of 45 exceeds maximum length of 40\n"},
      {JUSTIFY_CENTER,
       "Orvik: ERROR!  Center justification error, field length of 45 exceeds maximum length of 40\n"},
      {JUSTIFY_RIGHT,
       "Orvik: ERROR!  Right justification error, field length of 45 exceeds maximum length of 40\n"}};
  for (const Case_t& c : cases) {
    InitializeUTF8Display(record);
    ConsoleCapture console;
    const Field_t field{19, CodePoints(text)};
    FieldToUTF8Line(record, field, &record->utf8Display[1], c.justification);
    EXPECT_EQ(console.Err(), c.message);
    EXPECT_EQ(console.Out(), "");
    EXPECT_EQ(Line(0), Blanks(40));
    EXPECT_EQ(Line(1), text.substr(0, 40));
    EXPECT_EQ(Line(2), "ABCDE" + Blanks(35));
  }
}

TEST_F(Fields, FillHiddenCellsBeforeTheNextLineWhenFewerColumnsAreShown) {
  SetLCDResolution(record, 4, 24);
  InitializeUTF8Display(record);
  const ConsoleCapture console;
  const Field_t field{16, CodePoints(std::string(42, 'x'))};
  FieldToUTF8Line(record, field, &record->utf8Display[0], JUSTIFY_LEFT);
  EXPECT_EQ(Cells(0, 40), std::string(40, 'x'));
  EXPECT_EQ(Line(1), "xx" + Blanks(22));
}

TEST_F(Fields, AreCutAtTheEndOfTheGridAndOfALineThatStandsAlone) {
  const ConsoleCapture console;
  const Field_t field{25, CodePoints(std::string(256, 'x'))};
  InitializeUTF8Display(record);
  FieldToUTF8Line(record, field, &record->utf8Display[3], JUSTIFY_LEFT);
  EXPECT_EQ(Line(3), std::string(40, 'x'));

  std::array<UTF8Line_t, 2> own{};
  FieldToUTF8Line(record, field, own.data(), JUSTIFY_LEFT);
  EXPECT_EQ(own[0].cells[39].codePoint, 'x');
  EXPECT_EQ(own[1].cells[0].codePoint, 0U);
}

TEST_F(Fields, IgnoreAnUnknownJustificationOrNumber) {
  InitializeUTF8Display(record);
  ConsoleCapture console;
  const Field_t field{19, CodePoints("abc")};
  FieldToUTF8Line(record, field, &record->utf8Display[0], 3);
  FieldToUTF8Line(record, field, &record->utf8Display[0], -1);
  Put(31, "abc");
  Put(255, "abc");
  EXPECT_EQ(console.Err(),
            "Orvik: ERROR!  Unknown justification code 3\n"
            "Orvik: ERROR!  Unknown justification code -1\n"
            "Orvik: ERROR!  Unknown Field ID 31\n"
            "Orvik: ERROR!  Unknown Field ID 255\n");
  EXPECT_EQ(Line(0), Blanks(40));
  EXPECT_TRUE(fieldLast.text.empty());
}

TEST_F(Fields, LCDRunsOverAllOthersFromLineToLine) {
  Put(16, "left");
  Put(21, "right");
  Put(0, std::string(50, 'x'));
  FieldsToUTF8Lines(record);
  EXPECT_EQ(Line(0), std::string(40, 'x'));
  EXPECT_EQ(Line(1), std::string(10, 'x') + Blanks(25) + "right");

  SetLCDResolution(record, 4, 24);
  Put(0, std::string(120, 'y'));  // 171 characters with the blank between: more than 4 × 24
  FieldsToUTF8Lines(record);
  EXPECT_EQ(Line(2), "xx_" + std::string(21, 'y'));
  EXPECT_EQ(Line(3), std::string(24, 'y'));
}

TEST_F(Fields, HoldNoMoreThanAMessageCarries) {
  ConsoleCapture console;
  Put(2, std::string(250, 'x'));
  Put(2, std::string(10, 'y'));
  EXPECT_EQ(fieldJib.text.size(), MAX_FIELD_TEXT);
  EXPECT_EQ(console.Err(), "Orvik: ERROR!  Field overflow.  FIELD_ID_JIB, size=261, max=256\n");
}

TEST_F(Fields, SurviveAnyGeometry) {
  const ConsoleCapture console;
  for (unsigned char id = 0; id < FIELD_COUNT; ++id) Put(id, std::string(256, 'x'));
  for (const int rows : {-1, 0, 1, 4, 5, 1000}) {
    for (const int columns : {-1, 0, 1, 39, 40, 41, 1000}) {
      SetLCDResolution(record, rows, columns);
      FieldsToUTF8Lines(record);
      DumpUTF8LineAll(record);
      EXPECT_TRUE(SameUTF8Line(record, &record->utf8Display[0], &record->utf8Display[0]));
    }
  }
}

TEST_F(Fields, LinesAreTheSameWhereTheirShownCellsAre) {
  UTF8Line_t a;
  UTF8Line_t b;
  SetLCDResolution(record, 4, 24);
  b.cells[24].codePoint = 1;
  EXPECT_TRUE(SameUTF8Line(record, &a, &b));
  b.cells[23].codePoint = 1;
  EXPECT_FALSE(SameUTF8Line(record, &a, &b));
  SetLCDResolution(record, 4, 0);
  EXPECT_TRUE(SameUTF8Line(record, &a, &b));
}

TEST_F(Fields, GiveStowedAndErectedTextAsUTF8) {
  EXPECT_EQ(StowedText(record), "");
  Put(29, "Aufgerichtet \xE4\xB8\xAD\xF0\x9F\x98\x80");
  Put(30, "R\xC3\xA9tract\xC3\xA9");
  EXPECT_EQ(ErectedText(record), "Aufgerichtet \xE4\xB8\xAD\xF0\x9F\x98\x80");
  EXPECT_EQ(StowedText(record), "R\xC3\xA9tract\xC3\xA9");
  fieldStowed.text = {'a', 0xD800, 'b'};
  EXPECT_EQ(StowedText(record),
            "a\xEF\xBC\x9F"
            "b");
}

TEST_F(Fields, DumpTheirTextByItsLowBytes) {
  ConsoleCapture console;
  Put(28, "Hi \xD1\x81\xC2\xB0\x09");  // the flash field is dumped on every update
  EXPECT_EQ(console.Out(), "Flash, fid=28, size=6\n    'Hi A0x00b0, 0x0009, '\n");

  ConsoleCapture all;
  DumpAllFields();
  EXPECT_EQ(all.Out().substr(0, 32), "DAF - START\nLCD, fid=0, size=0\nO");
  EXPECT_NE(all.Out().find("Erected, fid=29, size=0\nStowed, fid=30, size=0\nDAF - END\n"), std::string::npos);

  SetLCDResolution(record, 1, 2);
  InitializeUTF8Display(record);
  ConsoleCapture grid;
  DumpUTF8LineAll(record);
  EXPECT_EQ(grid.Out(), "UTF8Line 0\n[0] 0x0000005f\n[1] 0x0000005f\n");
}

}  // namespace
