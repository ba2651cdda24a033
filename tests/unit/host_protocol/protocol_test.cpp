// The host's messages: encoding, segmentation, decoding into words, and injected faults.
#include <algorithm>
#include <array>
#include <set>

#include <gmock/gmock.h>

#include "host/link/inject.h"
#include "host/protocol/cmd2_values.h"
#include "host/protocol/decode.h"
#include "host/protocol/encode.h"
#include "host/protocol/errors.h"
#include "host/protocol/message_json.h"
#include "host/protocol/message_lines.h"
#include "host/protocol/reassembly.h"
#include "tests/support/hex.h"

namespace {

using host::MessageBytes;
using testing::ElementsAre;

std::string Words(const char* message, host::known_units_t units = {}) {
  return host::FormatMessage(host::ReadCommand(FromHex(message), units));
}

// The bytes of the floats are written by hand. The two swing bytes lie between the third and fourth lamp byte.
TEST(OperatingValuesTest, AreEncodedAndPutIntoWords) {
  constexpr const char* MESSAGE =
      "02 00 46 EA 60 00 46 40 30 00 42 0E 00 00 C0 00 00 00 3F 00 00 00 3E CC 49 BA 04 05 00 01 FF B5 80 "
      "3F 80 00 00 BF 80 00 00";
  host::Cmd2Values values;
  const std::pair<const char*, double> numbers[] = {
      {"capacity", 30000}, {"load", 12300},        {"radius", 35.5},     {"angle", -2},
      {"extension", 0.5},  {"percent", 39.9},      {"parts-of-line", 4}, {"led", 0x80010005},
      {"swing", -75},      {"piston-pressure", 1}, {"rod-pressure", -1}};
  for (const auto& [name, number] : numbers) values.Set(name, number);
  EXPECT_EQ(ToHex(values.MakeMessage()), MESSAGE);
  EXPECT_EQ(
      Words(MESSAGE, 1),
      "operating-values: capacity 30000 kgs, load 12300 kgs, radius 35.5 meters, angle -2 deg, extension "
      "0.5 meters, percent 39.9 %, parts-of-line 4, led prealarm,a2b,tires,swing-alarm-tripped, swing -75 "
      "deg, piston-pressure 1, rod-pressure -1");
}

TEST(DecodeTest, PutsEveryLayoutIntoWords) {
  const std::pair<const char*, const char*> cases[] = {
      {"05 00 0F 00 07 00 11 48 45 4C 4C 4F 00 04 00 1D C2 B0 FF FF",
       "texts: line1-center \"HELLO\", erected \"°\""},
      {"05 00 07 00 03 00 11 41 00 04 00 1D 42 43 FF", "texts: line1-center \"A\", erected \"BC\""},
      {"03 00 04 00 63 41 42 FF", "flash: \"AB\""},
      // Control characters are escaped, so that text from the bus cannot control the terminal.
      {"03 00 08 00 00 1B 5B 41 22 FF C3", "flash: \"\\x1B[A\\\"\xEF\xBF\xBD\xEF\xBF\xBD\""},
      {"04 FF FF FF FF FF", "beeper: continuous"},
      {"04 14", "beeper: 20 x 10 ms"},
      {"06 FF FF FF FF FF", "key-state"},
      {"07 01 04 7F 00 01 05 FF", "valid-keys: none winch:no-beep counterweight:5"},
      {"07 01 FF 7F", "valid-keys: none"},  // the count is larger than the number of masks
      {"07 0B 01", "units: metric"},
      {"07 0F 02", "transition: 2"},
      {"07 12 01 00 09 03", "colors: tires green, retracted dark, half 9, extended red"},
      // Messages that the display refuses.
      {"02 00 46", "operating-values  (!) 3 bytes came, 41 are needed"},
      {"07", "unknown: bytes 07  (!) the display knows no such command"},
      {"07 15 00", "unknown: bytes 07 15 00  (!) the display knows no such command"},
      {"05 00 04 00 02 00 11 FF", "texts  (!) the length is 4, with 5 bytes left"},
      {"05 FF FF 00 03 00 11 41", "texts  (!) the length is 65535, with 5 bytes left"},
      {"05 00 0A 00 03 00 11 41 00 09 00 12 42",
       "texts: line1-center \"A\"  (!) a text's length is 9, with 5 bytes left"},
      {"05 00 07 00 03 00 11 41 00 09",
       "texts: line1-center \"A\"  (!) a text's length is 0, with 2 bytes left"},
      {"05 00 05 00 03 00 1F 41", "texts: field-31 \"A\"  (!) there is no text field 31"}};
  for (const auto& [message, words] : cases) EXPECT_EQ(Words(message), words) << message;
}

TEST(WordsTest, GiveJsonWithNumbersNamesAndLists) {
  const std::pair<const char*, const char*> cases[] = {
      {"05 00 0A 00 03 00 11 41 00 03 00 11 FF FF",
       "CMD5\",\"name\":\"texts\",\"values\":{\"line1-center\":[\"A\",\"\xEF\xBF\xBD\"]"},
      {"07 12 01 00 09 03",
       R"(CMD7.18","name":"colors","values":{"tires":"green","retracted":"dark","half":9,"extended":"red")"},
      {"07 01 02 7F 7F", R"(CMD7.1","name":"valid-keys","values":{"valid-keys":["none","boom-mode"])"}};
  for (const auto& [message, json] : cases) {
    host::bus_message_t heard{.time_us = 1500000, .sender = host::sender_t::HOST, .frame = {}, .decoded = {}};
    heard.decoded = host::ReadCommand(FromHex(message), {});
    EXPECT_EQ(host::FormatJsonLine(heard),
              R"({"time":1.5,"from":"host","command":")" + std::string(json) + "}}");
  }
}

TEST(EncodeTest, WhatDoesNotFitBecomesTheNearestThatDoesOrIsRefused) {
  EXPECT_EQ(ToHex(host::MakeMessage("beeper", 300)), "04 FF");
  EXPECT_EQ(ToHex(host::MakeMessage("beeper", -1)), "04 00");
  host::Cmd2Values values;
  values.Set("swing", -40000);
  EXPECT_EQ(ToHex(values.MakeMessage()).substr(90, 5), "80 00");
  using texts_t = std::vector<host::field_text_t>;
  EXPECT_EQ(host::MakeTextsMessage(texts_t{{0, std::string(244, 'x')}}).size(), 251U) << "the display's block";
  EXPECT_THROW(host::MakeTextsMessage(texts_t{{0, std::string(245, 'x')}}), host::UsageError);
  EXPECT_THROW(host::MakeTextsMessage(texts_t{{0, "a"}, {1, ""}}), host::UsageError);
}

TEST(SegmentTest, PadsTheLastFrameAndKnowsItsBounds) {
  EXPECT_THAT(ToHex(host::CutIntoFrames(MessageBytes{6})), ElementsAre("00 01 06 FF FF FF FF FF"));
  EXPECT_THAT(ToHex(host::CutIntoFrames(MessageBytes{1, 2, 3, 4, 5, 6})),
              ElementsAre("00 01 01 02 03 04 05 06"));
  EXPECT_THAT(ToHex(host::CutIntoFrames(MessageBytes{1, 2, 3, 4, 5, 6, 7})),
              ElementsAre("00 02 01 02 03 04 05 06", "01 07 FF FF FF FF FF FF"));
  EXPECT_EQ(host::CutIntoFrames(MessageBytes(6 + 7 * 254)).size(), 255U);
  EXPECT_THROW(host::CutIntoFrames(MessageBytes(6 + 7 * 254 + 1)), host::UsageError);
  EXPECT_THROW(host::CutIntoFrames(MessageBytes{}), host::UsageError);
}

// If a command and a field had one name, `hx7 send` would always take the one that it looks up first.
TEST(ProtocolTableTest, NamesAreUniqueAndFieldsLieInsideTheirMessages) {
  std::set<std::string_view> names;
  for (const host::command_t& command : host::Commands()) {
    EXPECT_TRUE(names.insert(command.name).second) << command.name;
    for (const host::field_t& field : command.fields)
      EXPECT_LE(field.offset + field.size, command.leastLength) << command.name;
    EXPECT_EQ(host::FindCommand(command.number, command.sub), &command);
  }
  for (const host::field_t& field : host::OperatingValuesCommand().fields)
    EXPECT_TRUE(names.insert(field.name).second) << field.name;
  for (const std::string_view name : host::TextFieldNames()) EXPECT_TRUE(names.insert(name).second) << name;
}

// The messages that the display would join from the frames, and its counters of broken sequences.
struct joined_t {
  std::vector<MessageBytes> messages;
  host::Reassembler::joining_counts_t counters;
};

joined_t Join(const std::vector<bus::frame_t>& frames) {
  host::Reassembler reassembler;
  joined_t joined;
  for (const bus::frame_t& frame : frames) {
    MessageBytes message;
    if (frame.identifier == 0x18FF00D0 && reassembler.Accept(frame.Bytes(), message))
      joined.messages.push_back(message);
  }
  joined.counters = reassembler.Counts();
  return joined;
}

TEST(InjectorTest, EachFaultSpoilsAsItsNameSaysAndLosesOneGoodMessageAtMost) {
  struct case_t {
    const char* name;
    std::function<bool(const joined_t&)> spoils;
  };
  const MessageBytes good = host::MakeMessage("units", 1);
  for (const case_t& c : {
           case_t{"missing-frame", [](const auto& j) { return j.counters.broken + j.counters.strays > 0; }},
           {"repeated-frame", [](const auto& j) { return j.counters.broken + j.counters.strays > 0; }},
           {"wrong-sequence", [](const auto& j) { return j.counters.broken > 0; }},
           {"oversize", [](const auto& j) { return j.counters.tooLong > 0; }},
           {"bad-length", [](const auto& j) { return j.messages.front()[0] == 5; }},
           {"broken-utf8", [](const auto& j) { return j.messages.front()[0] == 5; }},
           {"unknown-command", [](const auto& j) { return j.messages.front()[0] > 9; }},
           {"babble", [](const auto& j) { return j.messages.size() == 2; }},
       }) {
    for (std::uint64_t seed = 0; seed < 50; ++seed) {
      host::Injector injector({}, 0, seed);
      injector.Ask(host::ParseBusFaults(c.name).front());
      auto frames = injector.Apply(host::CutIntoFrames(good));
      const auto next = injector.Apply(host::CutIntoFrames(good));
      frames.insert(frames.end(), next.begin(), next.end());
      const joined_t joined = Join(frames);
      EXPECT_TRUE(c.spoils(joined)) << c.name << ", seed " << seed;
      ASSERT_FALSE(joined.messages.empty()) << c.name;
      EXPECT_EQ(joined.messages.back()[0], good[0]) << c.name << ", seed " << seed;
      EXPECT_EQ(injector.Summary(), std::string("injected 1 faults: ") + c.name + " 1");
    }
  }
}

// "D0 00 01 06": the last byte of the identifier, 18FF00xx, and the data.
bus::frame_t Frame(const std::string& text, std::uint64_t time_us) {
  auto bytes = FromHex(text);
  if (bytes.size() > 2) bytes.resize(9, 0xFF);  // two bytes stand for a frame that is too short
  const auto length = static_cast<std::uint8_t>(bytes.size() - 1);
  bus::frame_t frame{.identifier = 0x18FF0000U + bytes[0], .length = length, .time_us = time_us};
  std::copy(bytes.begin() + 1, bytes.end(), frame.data.begin());
  return frame;
}

TEST(ConversationTest, GivesEachReplyItsRequestAndNoticesWhatIsOutOfPlace) {
  struct {
    const char* what;
    std::vector<const char*> frames;  // 300 ms apart
    std::vector<std::string> words;
    std::array<std::uint64_t, 3> counts;  // unanswered, broken, other stations
  } const cases[] = {
      {"a reply of one frame passes a request over whose reply has two",
       {"D0 00 01 07 03", "D0 00 01 06", "D2 00 01 00 12 0A", "D2 00 02 56 69", "D2 01 6C 20 FF"},
       {"program-name", "key-state", "key-state: status 0, key info, last-key fly", "unknown: "},
       {1, 0, 0}},
      {"a reply that comes too late, to a request between the frames of a message",
       {"D0 00 02 04 14", "D0 00 01 07 07", "D0 01 FF", "D0 01 FF", "D0 01 FF", "D2 00 01 00"},
       {"lcd-status", "beeper: 20 x 10 ms", "unknown: "},
       {1, 0, 0}},
      {"a message and another station between the frames of a message",
       {"D0 00 02 04 14", "D1 00 01 06", "D0 00 01 04 00", "D0 01 FF"},
       {"unknown: bytes 00 01 06"},
       {0, 1, 1}},
      {"a frame that is too short",
       {"D0 00 02 04 14", "D0 01", "D0 01 FF"},
       {"beeper: 20 x 10 ms"},
       {0, 0, 0}}};
  for (const auto& c : cases) {
    host::TrafficDecoder conversation;
    std::vector<std::string> words;
    std::uint64_t now_us = 0;
    for (const char* frame : c.frames) {
      const auto heard = conversation.Accept(Frame(frame, now_us += 300'000));
      if (heard) words.push_back(host::FormatMessage(heard->decoded));
    }
    ASSERT_EQ(words.size(), c.words.size()) << c.what;
    for (std::size_t i = 0; i < words.size(); ++i)
      EXPECT_THAT(words[i], testing::StartsWith(c.words[i])) << c.what;
    const auto counts =
        std::array{conversation.Unanswered(), conversation.Host().broken, conversation.Counts().others};
    EXPECT_EQ(counts, c.counts) << c.what;
  }
}

}  // namespace
