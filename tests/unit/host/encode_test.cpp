#include "host/encode.h"

#include <set>

#include <gmock/gmock.h>

#include "host/errors.h"
#include "host/operating_values.h"
#include "tests/unit/host/hex.h"

namespace {

using host::Message;

std::vector<std::string> FramesOf(const Message& message) {
  std::vector<std::string> frames;
  for (const bus::frame_t& frame : host::Segment(message)) frames.push_back(ToHex(frame.Bytes()));
  return frames;
}

TEST(Encode, OperatingValuesKeepSwingInsideTheLampWord) {
  host::OperatingValues values;
  const std::pair<const char*, double> numbers[] = {
      {"capacity", 30000}, {"load", 12300},        {"radius", 35.5},     {"angle", -2},
      {"extension", 0.5},  {"percent", 75},        {"parts-of-line", 4}, {"led", 0x81020304},
      {"swing", -75},      {"piston-pressure", 1}, {"rod-pressure", -1}};
  for (const auto& [name, number] : numbers) values.Set(name, number);
  // Floats of capacity 46 EA 60 00, load 46 40 30 00, radius 42 0E 00 00, angle C0 00 00 00, extension 3F 00 00
  // 00 and 0.75 3F 40 00 00; the parts; lamps 04 03 02; swing FF B5; lamps 81; floats of the pressures 3F 80 00
  // 00, BF 80 00 00.
  EXPECT_EQ(
      ToHex(values.Encode()),
      "02 00 46 EA 60 00 46 40 30 00 42 0E 00 00 C0 00 00 00 3F 00 00 00 3F 40 00 00 04 04 03 02 FF B5 81 "
      "3F 80 00 00 BF 80 00 00");
  EXPECT_THAT(
      FramesOf(values.Encode()),
      testing::ElementsAre("00 06 02 00 46 EA 60 00", "01 46 40 30 00 42 0E 00", "02 00 C0 00 00 00 3F 00",
                           "03 00 00 3F 40 00 00 04", "04 04 03 02 FF B5 81 3F", "05 80 00 00 BF 80 00 00"));
}

TEST(Encode, TextsCarryTheirLengthsBigEndian) {
  const std::vector<host::text_t> texts = {{17, "HELLO"}, {1, "\xC2\xB0"}};
  EXPECT_EQ(ToHex(host::EncodeTexts(texts)), "05 00 0F 00 07 00 11 48 45 4C 4C 4F 00 04 00 01 C2 B0");
  EXPECT_THAT(FramesOf(host::EncodeFlash("AB")),
              testing::ElementsAre("00 02 03 00 04 00 00 41", "01 42 FF FF FF FF FF FF"));
}

TEST(Encode, TextsFillTheDisplaysBlockAndNotOneByteMore) {
  const std::vector<host::text_t> most = {{0, std::string(244, 'x')}};
  EXPECT_EQ(host::EncodeTexts(most).size(), 251U);
  EXPECT_THROW(host::EncodeTexts(std::vector<host::text_t>{{0, std::string(245, 'x')}}), host::usage_error);
  EXPECT_THROW(host::EncodeTexts(std::vector<host::text_t>{{0, "a"}, {1, ""}}), host::usage_error);
}

TEST(Encode, NumbersThatDoNotFitBecomeTheNearestThatDo) {
  EXPECT_EQ(ToHex(host::Encode("beeper", 300)), "04 FF");
  EXPECT_EQ(ToHex(host::Encode("beeper", -1)), "04 00");
  host::OperatingValues values;
  values.Set("swing", -40000);
  EXPECT_EQ(ToHex(values.Encode()).substr(90, 5), "80 00");
}

TEST(Segment, PadsTheLastFrameAndKnowsItsBounds) {
  EXPECT_THAT(FramesOf({6}), testing::ElementsAre("00 01 06 FF FF FF FF FF"));
  EXPECT_THAT(FramesOf({1, 2, 3, 4, 5, 6}), testing::ElementsAre("00 01 01 02 03 04 05 06"));
  EXPECT_THAT(FramesOf({1, 2, 3, 4, 5, 6, 7}),
              testing::ElementsAre("00 02 01 02 03 04 05 06", "01 07 FF FF FF FF FF FF"));
  EXPECT_EQ(host::Segment(Message(6 + 7 * 254)).size(), 255U);
  EXPECT_THROW(host::Segment(Message(6 + 7 * 254 + 1)), host::usage_error);
  EXPECT_THROW(host::Segment(Message{}), host::usage_error);
  EXPECT_EQ(host::Segment(Message{6})[0].identifier, 0x18FF00D0U);
}

// A name that two things had would send the one that is looked for first.
TEST(ProtocolTable, NamesAreUniqueAndFieldsLieInsideTheirMessages) {
  std::set<std::string_view> names;
  for (const host::command_t& command : host::Commands()) {
    EXPECT_TRUE(names.insert(command.name).second) << command.name;
    for (const host::field_t& field : command.fields)
      EXPECT_LE(field.offset + field.size, command.leastLength) << command.name;
    EXPECT_EQ(host::FindCommand(command.number, command.sub), &command);
  }
  for (const host::field_t& field : host::OperatingValuesCommand().fields)
    EXPECT_TRUE(names.insert(field.name).second);
  for (const std::string_view name : host::TextFieldNames()) EXPECT_TRUE(names.insert(name).second) << name;
}

}  // namespace
