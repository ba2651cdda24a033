#include "screen/text_layout.h"

#include <gtest/gtest.h>

namespace unit {
namespace {

text_place_t Place(double x, double width, int cells = 0, double fontSize = 16) {
  text_place_t place;
  place.x = x;
  place.width = width;
  place.cells = cells;
  place.fontSize = fontSize;
  return place;
}

const text_place_t CELLS = Place(100, 400, 40);  // 10 pixels a column
const text_place_t PLAIN = Place(100, 400);

TEST(TextLayout, EachGlyphStandsInTheMiddleOfItsColumnWhateverItsFont) {
  const text_layout_t layout = LayOut("A Я", CELLS, Align::kLeft);
  EXPECT_EQ(layout.anchor, "middle");
  ASSERT_EQ(layout.runs.size(), 2U);
  EXPECT_EQ(layout.runs[0].text, "A");
  EXPECT_EQ(layout.runs[0].x, 105);
  EXPECT_EQ(layout.runs[1].text, "Я");
  EXPECT_EQ(layout.runs[1].x, 125);
}

TEST(TextLayout, CellsAlignWholeTextsAndCutWhatGoesBeyondTheLast) {
  EXPECT_EQ(LayOut("ABC", CELLS, Align::kRight).runs.front().x, 475);
  EXPECT_EQ(LayOut("ABC", CELLS, Align::kCenter).runs.front().x, 285);  // column 18: rounded down
  EXPECT_EQ(LayOut(std::string(45, 'x'), CELLS, Align::kRight).runs.size(), 40U);
  EXPECT_EQ(LayOut(std::string(45, 'x'), CELLS, Align::kRight).runs.back().x, 495);
}

TEST(TextLayout, AFullWidthGlyphShrinksIntoANarrowColumn) {
  const text_layout_t layout = LayOut("a？", CELLS, Align::kLeft);
  EXPECT_FALSE(layout.runs[0].fontSize);
  EXPECT_EQ(layout.runs[1].fontSize, 10);
  const text_place_t wide = Place(0, 480, 24, 19);
  EXPECT_FALSE(LayOut("主", wide, Align::kLeft).runs[0].fontSize);
}

TEST(TextLayout, ProportionalTextFollowsTheMessageUnlessTheDesignFixesIt) {
  const text_layout_t right = LayOut("  12,300", PLAIN, Align::kRight);
  EXPECT_EQ(right.anchor, "end");
  EXPECT_EQ(right.x, 500);
  EXPECT_EQ(right.runs.front().text, "12,300");
  EXPECT_EQ(LayOut("lbs", PLAIN, Align::kCenter).x, 300);
  text_place_t fixed = PLAIN;
  fixed.fixed = Align::kLeft;
  EXPECT_EQ(LayOut("lbs", fixed, Align::kRight).anchor, "start");
  EXPECT_TRUE(LayOut("   ", PLAIN, Align::kLeft).runs.empty());
}

TEST(TextLayout, ALongTextIsCutByCharactersNotBytes) {
  text_place_t place = PLAIN;
  place.maximum = 4;
  EXPECT_EQ(LayOut("Лебёдка", place, Align::kLeft).runs.front().text, "Леб…");
  EXPECT_EQ(LayOut("Леб.", place, Align::kLeft).runs.front().text, "Леб.");
}

TEST(TextLayout, CleanTextIsFitForADocument) {
  EXPECT_EQ(CleanText("Ünder 100°"), "Ünder 100°");
  EXPECT_EQ(CleanText("a\x01\x7f"), "a\uFFFD\uFFFD");
  EXPECT_EQ(CleanText("\xC3"), "\uFFFD");
  EXPECT_EQ(CleanText("a\xFF"
                      "b"),
            "a\uFFFDb");
  EXPECT_EQ(CleanText("\xEF\xBF\xBF"), "\uFFFD");  // U+FFFF
  EXPECT_EQ(CleanText("<&>\""), "<&>\"");          // the document writes these as references
}

}  // namespace
}  // namespace unit
