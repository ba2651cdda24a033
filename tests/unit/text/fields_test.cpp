// What no golden transcript shows of the text grid: texts that no message carries, and a message at a rare
// moment.
#include "src/text/fields.h"

#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "src/core/operating_values.h"
#include "src/core/sharing.h"
#include "src/text/grid.h"
#include "src/text/system_text.h"
#include "tests/support/console_capture.h"
#include "tests/support/test_record.h"

namespace {

std::vector<unsigned> CodePoints(const std::string& text) {
  return {text.begin(), text.end()};
}

// Fields and a grid that starts empty, with a visible blank.
class FieldsTest : public testing::Test {
 protected:
  FieldsTest() {
    InitAllFields();
    record_->spaceChar = '_';
  }

  void Put(unsigned char fieldId, const std::string& text) { UpdateField(record_, fieldId, CodePoints(text)); }

  // The first `count` cells of a line.
  std::string Cells(std::size_t line, std::size_t count) {
    const auto& cells = record_->utf8Display[line].cells;
    std::string text(count, ' ');
    std::transform(cells.begin(), cells.begin() + static_cast<std::ptrdiff_t>(count), text.begin(),
                   [](const UTF8Char_t& cell) { return static_cast<char>(cell.codePoint); });
    return text;
  }

  RecordWithoutDatabase record_;
};

TEST_F(FieldsTest, FillHiddenCellsAndAreCutAtTheEndOfTheGridAndOfALineThatStandsAlone) {
  const ConsoleCapture console;
  const Field_t field{16, CodePoints(std::string(256, 'x'))};
  SetLCDResolution(record_, 4, 24);
  InitializeUTF8Display(record_);
  FieldToUTF8Line(record_, {16, CodePoints(std::string(42, 'x'))}, &record_->utf8Display[0], JUSTIFY_LEFT);
  EXPECT_EQ(Cells(0, 40), std::string(40, 'x'));
  EXPECT_EQ(Cells(1, 24), "xx" + std::string(22, '_'));
  FieldToUTF8Line(record_, field, &record_->utf8Display[3], JUSTIFY_LEFT);
  EXPECT_EQ(Cells(3, 24), std::string(24, 'x'));

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
  EXPECT_EQ(Cells(0, 40), std::string(40, '_'));
  EXPECT_TRUE(fieldLast.text.empty());
  EXPECT_EQ(fieldJib.text.size(), MAX_FIELD_TEXT);
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

// A message that comes between two looks of the dispatcher, which has not ended the system's own text yet.
TEST_F(FieldsTest, EndTheSystemTextWhenTheHostSendsNewText) {
  Put(16, "old");
  FieldsToUTF8Lines(record_);
  ShowSystemText(record_, "LOST");
  {
    const MutexGuard guard(record_->displayMutex);
    ClearAllFields();
    Put(16, "new");
    FieldsToUTF8Lines(record_);
    HostTextArrived(record_);
  }
  EXPECT_FALSE(SystemTextShown());
  EndSystemText(record_);
  EXPECT_EQ(Cells(0, 4), "new_") << "restored, although the host's text has ended the system's";
}

}  // namespace
