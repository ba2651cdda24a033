// What clients of the screen service may send: the records of a layer, and the messages to widgets.
#include <bit>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "unit/screen/compositor/compositor.h"
#include "unit/screen/design/message_reader.h"

namespace unit {
namespace {

using namespace Compositing;
using bytes_t = std::vector<std::uint8_t>;

void AddWord(bytes_t& bytes, std::uint32_t word) {
  for (unsigned shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<std::uint8_t>(word >> shift));
}

bytes_t Record(std::uint32_t command, std::uint32_t first, const std::vector<float>& floats = {},
               std::uint32_t layer = 1) {
  bytes_t record;
  for (const std::uint32_t word : {0x55AA55AAU, 0U, command, first, layer, 0U}) AddWord(record, word);
  AddWord(record, static_cast<std::uint32_t>(floats.size() * 4));
  for (const float value : floats) AddWord(record, std::bit_cast<std::uint32_t>(value));
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

std::optional<picture_t> FindPicture(const std::string& path) {
  if (path != "/boom.png") return {};
  return picture_t{"picture-1", 20, 10};
}

std::string AttributeOf(const drawn_element_t& element, const std::string& name) {
  for (const auto& [key, value] : element.attributes) {
    if (key == name) return value;
  }
  return "-";
}

class CompositorTest : public testing::Test {
 protected:
  CompositorTest() { compositor_.Take(CREATE); }
  compositor_reply_t Draw(const std::vector<bytes_t>& records) { return compositor_.Take(Join(records)); }

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
  bytes_t image = Record(CMD_IMAGE, IMAGE_CENTERED, {});
  image[24] = 20;
  AddWord(image, 40);
  AddWord(image, 0);
  for (const char c : std::string("/boom.png")) image.push_back(static_cast<std::uint8_t>(c));
  image.push_back(0);  // 18 bytes of data, not padded at the end of the message
  EXPECT_EQ(Draw({START, END, image}), compositor_reply_t::OK);
  Draw({END});
  const drawing_t drawing = compositor_.Drawing();
  ASSERT_EQ(drawing.size(), 1U);
  const drawn_element_t& use = drawing[0].children[0];
  EXPECT_EQ(AttributeOf(use, "href"), "#picture-1");
  EXPECT_EQ(AttributeOf(use, "transform"), "translate(-20 -5) scale(2 1)");
}

TEST_F(CompositorTest, OnlyAnUnknownLayerOrAMessageWithoutARecordIsRefused) {
  EXPECT_EQ(compositor_.Take({}), compositor_reply_t::NO_RECORD);
  EXPECT_EQ(compositor_.Take(bytes_t(64, 0xAA)), compositor_reply_t::NO_RECORD);
  EXPECT_EQ(compositor_.Take(Record(CMD_END_FRAME, 0, {}, 9)), compositor_reply_t::UNKNOWN_LAYER);
  EXPECT_EQ(Draw({START, CIRCLE, Record(CMD_SHAPE, SHAPE_CIRCLE_FILL, {5}, 9), END}),
            compositor_reply_t::UNKNOWN_LAYER);
  EXPECT_TRUE(compositor_.Drawing().empty());
  EXPECT_EQ(compositor_.Take(Record(CMD_DESTROY_LAYER, 0)), compositor_reply_t::OK);
  EXPECT_EQ(Draw({START, END}), compositor_reply_t::UNKNOWN_LAYER);
}

TEST_F(CompositorTest, ABadRecordIsCountedAndTheRestOfTheFrameIsDrawn) {
  bytes_t tooLong = CIRCLE;
  tooLong[27] = 0x7F;
  bytes_t oddLength = CIRCLE;
  oddLength[24] = 3;
  struct {
    const char* why;
    bytes_t record;
    bool counted;  // as a refused operation; else as a place without a record
  } const cases[] = {
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
    const compositor_counters_t before = compositor_.Counters();
    EXPECT_EQ(Draw({START, CIRCLE, record, CIRCLE, END}), compositor_reply_t::OK) << why;
    EXPECT_EQ(compositor_.Drawing().size(), 2U) << why;
    EXPECT_EQ(compositor_.Counters().operationsRefused - before.operationsRefused, counted ? 1U : 0U) << why;
    EXPECT_EQ(compositor_.Counters().recordsSkipped - before.recordsSkipped, counted ? 0U : 1U) << why;
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

TEST(ScreenMessage, MovesRotationsAndColours) {
  const auto move = ReadScreenMessage(bytes_t{7, 0, 0, 0, 1, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 76, 0, 0, 0});
  ASSERT_TRUE(move);
  EXPECT_EQ(move->place, (std::array<std::int32_t, 2>{-1, 76}));
  const auto turn = ReadScreenMessage(
      bytes_t{7, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0xB4, 0x42, 0, 0, 0x80, 0x3F, 0, 0, 0, 0xC0});  // 90, 1, -2
  ASSERT_TRUE(turn);
  EXPECT_EQ(turn->parts, (std::array<float, 4>{90, 1, -2, 0}));
  const auto color = ReadScreenMessage(bytes_t{7,    0,    0, 0, 7, 0, 0, 0, 1, 0,    0, 0, 0,    0,
                                               0x80, 0x3F, 0, 0, 0, 0, 0, 0, 0, 0x3F, 0, 0, 0x80, 0x3F});
  ASSERT_TRUE(color);
  EXPECT_EQ(color->number, 1U);
  EXPECT_EQ(color->parts, (std::array<float, 4>{1, 0, 0.5, 1}));
}

TEST(ScreenMessage, AZeroWithinATextIsACharacterAndTheLengthGivesItsEnd) {
  const auto text = ReadScreenMessage(bytes_t{7, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0, 'A', 0, 0xC2, 0x85, 'B', 0});
  ASSERT_TRUE(text);
  EXPECT_EQ(text->text, "A\uFFFD\uFFFDB") << "a zero, and a control character of C1";
}

TEST(ScreenMessage, WhatIsNoWholeMessageIsRefused) {
  const std::pair<const char*, bytes_t> cases[] = {
      {"empty", {}},
      {"shorter than its header", {1, 0, 0, 0, 4, 0, 0}},
      {"an operation that does not exist", {1, 0, 0, 0, 9, 0, 0, 0}},
      {"an operation beyond every table", {1, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF}},
      {"a text without attribute", {1, 0, 0, 0, 0, 0, 0, 0}},
      {"a text without even its end", {1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
      {"a text without its end", {1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 'a'}},
      {"an attribute that does not exist", {1, 0, 0, 0, 0, 0, 0, 0, 3, 0, 0, 0, 'a', 0}},
      {"a move without y", {1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0}},
      {"a move with more than y", {1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0}},
      {"a show with an argument", {1, 0, 0, 0, 5, 0, 0, 0, 1, 0, 0, 0}},
      {"a rotation by no number", {1, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0xC0, 0x7F, 0, 0, 0, 0, 0, 0, 0, 0}},
      {"a colour of a part that does not exist",
       {1, 0, 0, 0, 7, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
  };
  for (const auto& [why, message] : cases) EXPECT_FALSE(ReadScreenMessage(message)) << why;
  bytes_t longText(SCREEN_MESSAGE_SIZE + 1, 'a');
  std::fill_n(longText.begin(), 12, std::uint8_t{0});
  longText.back() = 0;
  EXPECT_FALSE(ReadScreenMessage(longText)) << "longer than any message";
}

}  // namespace
}  // namespace unit
