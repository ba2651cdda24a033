// The entry that a rule chooses for a value, a number in its format, and the layout of a text.
#include <cmath>
#include <limits>
#include <stdexcept>
#include <tuple>

#include <gtest/gtest.h>

#include "unit/screen/design/text_layout.h"
#include "unit/screen/design/value_rule.h"

namespace unit {
namespace {

TEST(ValueRuleTest, ChoosesTheFirstEntryThatHolds) {
  constexpr const char* LOAD = "..0.9:green;0.9..1:yellow;1..:red;?:grey";
  struct {
    const char* rule;
    variable_value_t value;
    const char* expected;  // null: no entry holds
  } const cases[] = {{LOAD, 0.85, "green"},
                     {LOAD, -3.0, "green"},
                     {LOAD, 0.89999, "green"},
                     {LOAD, 0.9F, "yellow"},
                     {LOAD, 0.9, "yellow"},
                     {LOAD, 0.99999, "yellow"},
                     {LOAD, 1.0, "red"},
                     {LOAD, 1e300, "red"},
                     {LOAD, std::nullopt, "grey"},
                     {"1:a;2:b", 3.0, nullptr},
                     {"1:a;2:b", std::nullopt, nullptr},
                     {"2:b;*:c", 9.0, "c"},
                     {"2:b;*:c", std::nullopt, "c"},
                     {"*:first;1:never", 1.0, "first"},
                     {"1:12:30", 1.0, "12:30"},
                     {"-1:low", -1.0, "low"},
                     {"1:", 1.0, ""}};
  for (const auto& [rule, value, expected] : cases) {
    const ValueRule chooser(rule);
    const std::string* chosen = chooser.Choose(value);
    ASSERT_EQ(expected == nullptr, chosen == nullptr) << rule;
    if (chosen != nullptr) {
      EXPECT_EQ(*chosen, expected) << rule;
    }
  }
}

TEST(ValueRuleTest, RefusesWhatCannotBeRead) {
  for (const char* text :
       {"", "1", "x:red", "1..0:red", "1..1:red", "1:a;;2:b", "1:a;b", "nan:a", "1..inf:a", ":a"}) {
    EXPECT_THROW(ValueRule{text}, std::runtime_error) << text;
  }
}

TEST(ValueFormatTest, ShowsTheValueInItsPlace) {
  const std::tuple<const char*, double, const char*> cases[] = {
      {"{0} %", 85.0, "85 %"},
      {"{0} %", 84.9, "84 %"},
      {"{0} %", 100.0 * 0.9F, "90 %"},
      {"{0} %", 89.97, "89 %"},
      {"{0.0}", 35.44, "35.4"},
      {"{0.0}", -0.04, "0.0"},
      {"{00}", 5.0, "05"},
      {"{00}", -5.0, "-05"},
      {"{00}:", 123.0, "123:"},
      {"{0.00} m", 1.0, "1.00 m"},
      {"{0}", 1e300, "--"},
      {"{0}", std::numeric_limits<double>::quiet_NaN(), "--"}};
  for (const auto& [format, value, expected] : cases) {
    EXPECT_EQ(ValueFormat(format).Apply(value), expected) << format << " of " << value;
  }
}

TEST(ValueFormatTest, RefusesWhatHasNotOnePlace) {
  for (const char* text : {"", "12", "{}", "{x}", "{.0}", "}0{", "{0}{0}", "{0.0.0}", "{0000000000}"}) {
    EXPECT_THROW(ValueFormat{text}, std::runtime_error) << text;
  }
}

text_place_t Place(double x, double width, int cells = 0, double fontSize = 16) {
  text_place_t place;
  place.x = x;
  place.width = width;
  place.cells = cells;
  place.fontSize = fontSize;
  return place;
}

const text_place_t CELLS = Place(100, 400, 40);  // 10 pixels a column

TEST(TextLayoutTest, EachGlyphStandsInTheMiddleOfItsColumnWhateverItsFont) {
  const text_layout_t layout = LayOut("A Я", CELLS, align_t::LEFT);
  EXPECT_EQ(layout.anchor, "middle");
  ASSERT_EQ(layout.runs.size(), 2U);
  EXPECT_EQ(layout.runs[0].text, "A");
  EXPECT_EQ(layout.runs[0].x, 105);
  EXPECT_EQ(layout.runs[1].text, "Я");
  EXPECT_EQ(layout.runs[1].x, 125);
}

TEST(TextLayoutTest, CellsAlignWholeTextsAndCutWhatGoesBeyondTheLast) {
  EXPECT_EQ(LayOut("ABC", CELLS, align_t::RIGHT).runs.front().x, 475);
  EXPECT_EQ(LayOut("ABC", CELLS, align_t::CENTER).runs.front().x, 285);  // column 18: rounded down
  EXPECT_EQ(LayOut(std::string(45, 'x'), CELLS, align_t::RIGHT).runs.size(), 40U);
  EXPECT_EQ(LayOut(std::string(45, 'x'), CELLS, align_t::RIGHT).runs.back().x, 495);
}

TEST(TextLayoutTest, AFullWidthGlyphShrinksIntoANarrowColumn) {
  const text_layout_t layout = LayOut("a？", CELLS, align_t::LEFT);
  EXPECT_FALSE(layout.runs[0].fontSize);
  EXPECT_EQ(layout.runs[1].fontSize, 10);
  const text_place_t wide = Place(0, 480, 24, 19);
  EXPECT_FALSE(LayOut("主", wide, align_t::LEFT).runs[0].fontSize);
}

TEST(TextLayoutTest, ProportionalTextFollowsTheMessageUnlessTheDesignFixesIt) {
  const text_place_t plain = Place(100, 400);
  const text_layout_t right = LayOut("  12,300", plain, align_t::RIGHT);
  EXPECT_EQ(right.anchor, "end");
  EXPECT_EQ(right.x, 500);
  EXPECT_EQ(right.runs.front().text, "12,300");
  EXPECT_EQ(LayOut("lbs", plain, align_t::CENTER).x, 300);
  text_place_t fixed = plain;
  fixed.fixed = align_t::LEFT;
  EXPECT_EQ(LayOut("lbs", fixed, align_t::RIGHT).anchor, "start");
  EXPECT_TRUE(LayOut("   ", plain, align_t::LEFT).runs.empty());
}

TEST(TextLayoutTest, ALongTextIsCutByCharactersNotBytes) {
  text_place_t place = Place(100, 400);
  place.maximum = 4;
  EXPECT_EQ(LayOut("Лебёдка", place, align_t::LEFT).runs.front().text, "Леб…");
  EXPECT_EQ(LayOut("Леб.", place, align_t::LEFT).runs.front().text, "Леб.");
}

TEST(TextLayoutTest, CleanTextIsFitForADocument) {
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
