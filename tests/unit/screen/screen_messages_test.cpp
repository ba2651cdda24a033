// The messages of the screen service's clients: the records of a drawing layer, and commands to widgets.
#include <bit>
#include <cstring>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/bytes.h"
#include "unit/screen/compositor/compositor.h"
#include "unit/screen/design/message_reader.h"

namespace unit {
namespace {

using namespace Compositing;

bytes_t Record(std::uint32_t command, std::uint32_t first, const std::vector<float>& floats = {},
               std::uint32_t layer = 1) {
  bytes_t record = Words({0x55AA55AA, 0, command, first, layer, 0, std::ssize(floats) * 4});
  for (const float value : floats) record = record + Words({std::bit_cast<std::uint32_t>(value)});
  return record;
}

bytes_t Join(const std::vector<bytes_t>& records) {
  bytes_t all;
  for (const bytes_t& record : records) all.insert(all.end(), record.begin(), record.end());
  return all;
}

const bytes_t CREATE = Record(CMD_CREATE_LAYER, LAYER_USER);
const bytes_t START = Record(CMD_OPERATION, OP_START_FRAME, {0, 0});
const bytes_t END = Record(CMD_END_FRAME, 0);
const bytes_t CIRCLE = Record(CMD_SHAPE, SHAPE_CIRCLE_FILL, {5});

std::optional<stored_picture_t> FindPicture(const std::string& path) {
  if (path != "/boom.png") return {};
  return stored_picture_t{"picture-1", 20, 10};
}

std::string AttributeOf(const drawn_element_t& element, const std::string& name) {
  for (const auto& [key, value] : element.attributes) {
    if (key == name) return value;
  }
  return "-";
}

class CompositorTest : public testing::Test {
 protected:
  CompositorTest() { compositor_.Accept(CREATE); }
  compositor_reply_t Draw(const std::vector<bytes_t>& records) { return compositor_.Accept(Join(records)); }

  Compositor compositor_{FindPicture};
};

TEST_F(CompositorTest, AFrameIsShownWhenItEnds) {
  EXPECT_EQ(Draw({START, CIRCLE}), compositor_reply_t::OK);
  EXPECT_TRUE(compositor_.Drawing().empty());
  EXPECT_EQ(Draw({CIRCLE, END}), compositor_reply_t::OK);
  EXPECT_EQ(compositor_.Drawing().size(), 2U);
  Draw({START, END});
  EXPECT_TRUE(compositor_.Drawing().empty());
}

TEST_F(CompositorTest, TransformsAndColourHoldForWhatFollows) {
  Draw({START, Record(CMD_OPERATION, OP_PUSH_AND_TRANSLATE, {100, 50, 0}),
        Record(CMD_OPERATION, OP_ROTATE, {90, 0, 0, 1}), Record(CMD_OPERATION, OP_SCALE, {2, 3, 1}),
        Record(CMD_OPERATION, OP_COLOR, {1, 0, 0, 0.5}), CIRCLE, Record(CMD_OPERATION, OP_POP), CIRCLE, END});
  const drawing_t drawing = compositor_.Drawing();
  ASSERT_EQ(drawing.size(), 2U);
  EXPECT_EQ(AttributeOf(drawing[0], "transform"), "matrix(0 2 -3 0 100 50)");
  EXPECT_EQ(AttributeOf(drawing[0].children[0], "style"), "fill:rgba(255,0,0,0.5)");
  EXPECT_EQ(AttributeOf(drawing[1], "transform"), "matrix(1 0 0 1 0 0)");
}

TEST_F(CompositorTest, ArcsRunCounterClockwiseFromThreeOClock) {
  Draw({START, Record(CMD_SHAPE, SHAPE_ARC_OUTLINE, {10, 0, 90}),
        Record(CMD_SHAPE, SHAPE_ARC_FILL, {10, 90, 270}), Record(CMD_SHAPE, SHAPE_LINE, {1, 2, 3, 4, 2, 1}),
        END});
  const drawing_t drawing = compositor_.Drawing();
  ASSERT_EQ(drawing.size(), 3U);
  EXPECT_EQ(AttributeOf(drawing[0].children[0], "d"), "M10 0 A10 10 0 0 0 0 -10");
  EXPECT_EQ(AttributeOf(drawing[1].children[0], "d"), "M0 0 L0 -10 A10 10 0 1 0 10 0 Z");
  EXPECT_EQ(AttributeOf(drawing[2].children[0], "style"),
            "stroke:rgba(255,255,255,1);stroke-width:2;stroke-dasharray:8 6");
}

TEST_F(CompositorTest, PicturesTakeTheirOwnSizeUnlessOneIsGiven) {
  bytes_t image = Record(CMD_IMAGE, IMAGE_CENTERED, {}) + Words({40, 0}) + Characters("/boom.png") + bytes_t{0};
  image[24] = 20;  // the length counts padding that the last 18 bytes of a message do not have
  EXPECT_EQ(Draw({START, END, image}), compositor_reply_t::OK);
  Draw({END});
  const drawing_t drawing = compositor_.Drawing();
  ASSERT_EQ(drawing.size(), 1U);
  const drawn_element_t& use = drawing[0].children[0];
  EXPECT_EQ(AttributeOf(use, "href"), "#picture-1");
  EXPECT_EQ(AttributeOf(use, "transform"), "translate(-20 -5) scale(2 1)");
}

TEST_F(CompositorTest, OnlyAnUnknownLayerOrAMessageWithoutARecordIsRefused) {
  EXPECT_EQ(compositor_.Accept({}), compositor_reply_t::NO_RECORD);
  EXPECT_EQ(compositor_.Accept(bytes_t(64, 0xAA)), compositor_reply_t::NO_RECORD);
  EXPECT_EQ(compositor_.Accept(Record(CMD_END_FRAME, 0, {}, 9)), compositor_reply_t::UNKNOWN_LAYER);
  EXPECT_EQ(Draw({START, CIRCLE, Record(CMD_SHAPE, SHAPE_CIRCLE_FILL, {5}, 9), END}),
            compositor_reply_t::UNKNOWN_LAYER);
  EXPECT_TRUE(compositor_.Drawing().empty());
  EXPECT_EQ(compositor_.Accept(Record(CMD_DESTROY_LAYER, 0)), compositor_reply_t::OK);
  EXPECT_EQ(Draw({START, END}), compositor_reply_t::UNKNOWN_LAYER);
}

TEST_F(CompositorTest, ABadRecordIsCountedAndTheRestOfTheFrameIsDrawn) {
  bytes_t tooLong = CIRCLE;
  tooLong[27] = 0x7F;
  bytes_t oddLength = CIRCLE;
  oddLength[24] = 3;
  // Whether the record is counted as a refused operation; the others count as places without a record.
  const std::tuple<const char*, bytes_t, bool> cases[] = {
      {"parameters without a header", bytes_t(40, 0x11), false},
      {"data beyond the message", tooLong, false},
      {"a length that is no multiple of four", oddLength, false},
      {"an unknown command", Record(77, 0), true},
      {"an unknown operation", Record(CMD_OPERATION, 99), true},
      {"an unknown shape", Record(CMD_SHAPE, 99, {1, 2, 3}), true},
      {"a shape without its floats", Record(CMD_SHAPE, SHAPE_LINE, {1, 2, 3}), true},
      {"a float that is no number", Record(CMD_SHAPE, SHAPE_CIRCLE_FILL, {std::bit_cast<float>(0x7FC00000U)}),
       true},
      {"a negative radius", Record(CMD_SHAPE, SHAPE_CIRCLE_FILL, {-1}), true},
      {"a pop without a push", Record(CMD_OPERATION, OP_POP), true},
      {"a picture without a size", Record(CMD_IMAGE, IMAGE_TOP_LEFT), true},
  };
  for (const auto& [why, record, counted] : cases) {
    SCOPED_TRACE(why);
    const compositor_counters_t before = compositor_.Counters();
    EXPECT_EQ(Draw({START, CIRCLE, record, CIRCLE, END}), compositor_reply_t::OK);
    EXPECT_EQ(compositor_.Drawing().size(), 2U);
    EXPECT_EQ(compositor_.Counters().operationsRefused - before.operationsRefused, counted ? 1U : 0U);
    EXPECT_EQ(compositor_.Counters().recordsSkipped - before.recordsSkipped, counted ? 0U : 1U);
  }
}

TEST_F(CompositorTest, DepthAndSizeOfAFrameAreBounded) {
  std::vector<bytes_t> records{START};
  for (std::size_t i = 0; i < Compositor::MAX_ELEMENTS + 10; ++i) records.push_back(CIRCLE);
  for (std::size_t i = 0; i < Compositor::MAX_DEPTH + 9; ++i) records.push_back(Record(CMD_OPERATION, OP_PUSH));
  records.push_back(END);
  EXPECT_EQ(Draw(records), compositor_reply_t::OK);
  EXPECT_EQ(compositor_.Drawing().size(), Compositor::MAX_ELEMENTS);
  EXPECT_EQ(compositor_.Counters().operationsRefused, 20U);
}

TEST(ScreenMessageTest, MovesRotationsAndColours) {
  const auto move = ReadScreenMessage(Words({7, 1, -1, 76}));
  ASSERT_TRUE(move);
  EXPECT_EQ(move->place, (std::array<std::int32_t, 2>{-1, 76}));
  const auto turn = ReadScreenMessage(Words({7, 2, 0x42B40000, 0x3F800000, 0xC0000000}));  // 90, 1, -2
  ASSERT_TRUE(turn);
  EXPECT_EQ(turn->parts, (std::array<float, 4>{90, 1, -2, 0}));
  const auto color = ReadScreenMessage(Words({7, 7, 1, 0x3F800000, 0, 0x3F000000, 0x3F800000}));
  ASSERT_TRUE(color);
  EXPECT_EQ(color->number, 1U);
  EXPECT_EQ(color->parts, (std::array<float, 4>{1, 0, 0.5, 1}));
}

TEST(ScreenMessageTest, AZeroWithinATextIsACharacterAndTheLengthGivesItsEnd) {
  const auto text = ReadScreenMessage(bytes_t{7, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0, 'A', 0, 0xC2, 0x85, 'B', 0});
  ASSERT_TRUE(text);
  EXPECT_EQ(text->text, "A\uFFFD\uFFFDB") << "a zero, and a control character of C1";
}

TEST(ScreenMessageTest, WhatIsNoWholeMessageIsRefused) {
  const std::pair<const char*, bytes_t> cases[] = {
      {"empty", {}},
      {"shorter than its header", {1, 0, 0, 0, 4, 0, 0}},
      {"an operation that does not exist", Words({1, 9})},
      {"an operation beyond every table", Words({1, -1})},
      {"a text without attribute", Words({1, 0})},
      {"a text without even its end", Words({1, 0, 0})},
      {"a text without its end", Words({1, 0, 0}) + bytes_t{'a'}},
      {"an attribute that does not exist", Words({1, 0, 3}) + bytes_t{'a', 0}},
      {"a move without y", Words({1, 1, 1})},
      {"a move with more than y", Words({1, 1, 1, 1}) + bytes_t{0}},
      {"a show with an argument", Words({1, 5, 1})},
      {"a rotation by no number", Words({1, 2, 0x7FC00000, 0, 0})},
      {"a colour of a part that does not exist", Words({1, 7, 2, 0, 0, 0, 0})},
  };
  for (const auto& [why, message] : cases) EXPECT_FALSE(ReadScreenMessage(message)) << why;
  bytes_t longText(SCREEN_MESSAGE_SIZE + 1, 'a');
  std::fill_n(longText.begin(), 12, std::uint8_t{0});
  longText.back() = 0;
  EXPECT_FALSE(ReadScreenMessage(longText)) << "longer than any message";
}

}  // namespace
}  // namespace unit
