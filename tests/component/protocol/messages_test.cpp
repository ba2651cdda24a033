// What the host sends is what the display takes: every command byte by byte, frames, and the replies.
#include <map>
#include <set>

#include <gmock/gmock.h>

#include "platform/byte_order.h"

#include "host/protocol/decode.h"
#include "host/protocol/encode.h"
#include "host/protocol/message_lines.h"
#include "host/protocol/reassembly.h"
#include "src/core/command_counters.h"
#include "src/core/queues.h"
#include "src/hostlink/can_transport.h"
#include "src/hostlink/immediate_replies.h"
#include "src/hostlink/j1939_external.h"
#include "src/services/nm_messages.h"
#include "tests/component/protocol/both_sides.h"
#include "tests/component/protocol/record_words.h"
#include "tests/support/fake_service.h"

namespace {

using host::MessageBytes;

// The bytes in front of the data: the command, and the sub-command where it has one.
std::size_t HeadOf(const host::command_t& command) {
  return command.sub < 0 ? 1 : 2;
}

TEST(HostCommandsTest, OfTheHostAreThoseThatTheDisplayKnows) {
  const auto unknown = [] {
    return CommandCounts[COUNT_CMD_UNRECOGNIZED] + CommandCounts[COUNT_CMD7_UNRECOGNIZED];
  };
  TestRecord record;
  const ConsoleCapture console;
  for (unsigned number = 0; number < 256; ++number) {
    const auto byte = static_cast<std::uint8_t>(number);
    for (const MessageBytes& message : {MessageBytes{byte, 0}, MessageBytes{7, byte}}) {
      const unsigned before = unknown();
      ParseMessage(record, BlockOf(message));
      EXPECT_EQ(unknown() == before, host::FindCommand(message) != nullptr) << testing::PrintToString(message);
    }
  }
}

words_t WordsAfter(const MessageBytes& message) {
  TestRecord record;
  Tell(record, message);
  return WordsOf(*static_cast<orvikData_t*>(record));
}

TEST(HostCommandsTest, BringEachFieldToItsWordAndToNoOther) {
  // Shown on the console, or looked at below and in names_test.cpp.
  const std::set<std::string> elsewhere = {"max-parts-of-line value", "transition value", "valid-keys keys"};
  for (const host::command_t& command : host::Commands()) {
    std::vector<double> values(command.fields.size(), 0.0);
    const words_t before = values.empty() ? words_t() : WordsAfter(host::MakeMessage(command, values));
    for (std::size_t i = 0; i < values.size(); ++i) {
      std::string name = std::string(command.name) + " " + std::string(command.fields[i].name);
      if (elsewhere.contains(name)) continue;
      if (name == "beep-duration duration") name = "beeper duration";  // the same with another number
      values[i] = values.size() > 4 ? 100 : 1;  // whole hundreds: of less, no weight is shown
      words_t expected = before;
      ASSERT_TRUE(expected.contains(name)) << name << " is no word of WordsOf";
      expected[name] = command.fields[i].name == "percent" ? values[i] / 100 : values[i];
      EXPECT_EQ(WordsAfter(host::MakeMessage(command, values)), expected) << name;
      values[i] = 0;
    }
  }
}

TEST(HostCommandsTest, BringLampBitsAroundTheSwingAndTheMaskOfEachKey) {
  std::vector<double> values(host::OperatingValuesCommand().fields.size());
  values[7] = 0x81020304;
  values[8] = -75;
  const words_t words = WordsAfter(host::MakeMessage(host::OperatingValuesCommand(), values));
  EXPECT_EQ(words.at("operating-values led"), 0x81020304);
  EXPECT_EQ(words.at("operating-values swing"), -75);

  TestRecord record;
  std::vector<std::uint8_t> masks(HOST_KEYS);
  for (std::size_t i = 0; i < masks.size(); ++i) masks[i] = static_cast<std::uint8_t>(i * 11);
  EXPECT_EQ(Tell(record, host::MakeKeyMasksMessage(masks)), "");
  EXPECT_TRUE(std::ranges::equal(masks, record->keyMasks, [](unsigned a, unsigned b) { return a == b; }));
}

// '#' for each byte of the message that makes a difference to the record or to what the console says.
std::string BytesRead(const host::command_t& command) {
  const auto effect = [](const MessageBytes& message) {
    TestRecord record;
    for (auto& mask : record->keyMasks) mask = 0x55;
    std::string said = Tell(record, message);
    return std::tuple(std::move(said), WordsOf(*static_cast<orvikData_t*>(record)), record->keyMasks[0].Load());
  };
  // Bytes that make large floats, where any change counts although weights are cut to hundreds.
  MessageBytes message(command.leastLength + 4, command.fields.size() > 4 ? 0x4E : 0);
  const MessageBytes head = host::MakeMessage(command, std::vector<double>(command.fields.size()));
  std::copy_n(head.begin(), HeadOf(command), message.begin());
  const auto before = effect(message);
  std::string read(message.size(), '.');
  for (std::size_t at = HeadOf(command); at < message.size(); ++at) {
    for (const unsigned change : {0x01U, 0xFFU}) {
      MessageBytes changed = message;
      changed[at] = static_cast<std::uint8_t>(changed[at] ^ change);
      if (effect(changed) != before) read[at] = '#';
    }
  }
  return read;
}

TEST(HostCommandsTest, AreAsLongAsTheDisplayReads) {
  for (const host::command_t& command : host::Commands()) {
    if (&command == &host::FlashCommand() || &command == &host::TextsCommand()) continue;
    std::string expected(command.leastLength + 4U, '.');
    for (const host::field_t& field : command.fields)
      expected.replace(field.offset, field.size, field.size, '#');
    EXPECT_EQ(BytesRead(command), expected) << command.name;
    const std::size_t end = expected.find_last_of('#') + 1;
    EXPECT_EQ(command.leastLength, std::max(end, HeadOf(command))) << command.name;
  }
}

// The decoder points out what the display will not take.
TEST(HostTextsTest, AreRefusedByTheDisplayWhereTheDecoderPointsOutAFault) {
  TestRecord record;
  for (std::uint8_t length = 0; length < 12; ++length) {
    for (const auto field : std::array<std::uint8_t, 4>{0, 30, 31, 255}) {
      std::vector<MessageBytes> messages = {{3, 0, length, 0, field, 'A', 'B'}};
      for (std::uint8_t total = 0; total < 16; ++total) {
        messages.push_back({5, 0, total, 0, length, 0, field, 'A', 'B'});
      }
      for (MessageBytes& message : messages) {
        SCOPED_TRACE(testing::PrintToString(message));
        message.resize(64);
        EXPECT_EQ(Tell(record, message) == "", host::ReadCommand(message, {}).problem == "");
      }
    }
  }
}

// The frames that the display has sent since the last call; they go to the service in the manager's messages.
std::vector<MessageBytes> FramesOf(FakeService& manager) {
  std::vector<MessageBytes> frames;
  for (const bytes_t& request : manager.DrainRequests()) {
    const std::size_t data = NM_HEADER_SIZE + J1939_DATA_AT;
    if (request.size() == NM_HEADER_SIZE + J1939_MESSAGE_SIZE)
      frames.emplace_back(request.begin() + data, request.begin() + data + FRAME_SIZE);
  }
  return frames;
}

TEST(HostRequestsTest, AreAnsweredAtOnceWithTheFramesAndBytesThatTheHostExpects) {
  // The status, the oldest key and the last one; texts with their blanks.
  std::map<std::string, std::string> answers = {{"key-state", "key-state: status 5, key fly, last-key pick"},
                                                {"program-name", "program-name: \"Vistrel \""},
                                                {"file-id", "file-id: \"Rev. 01.003.0109\""}};
  TestRecord record;  // makes the runtime directory in which the manager's name lies
  FakeService manager{NM_SERVER_NAME, [](const bytes_t&) { return Words({0, 6, 1, 1}); }};
  InitProgramDate(record);
  record->keyStatus = 5;
  addKeyData(record, 10);
  addKeyData(record, 12);
  for (const host::command_t& command : host::Commands()) {
    MessageBytes request = {command.number, static_cast<std::uint8_t>(command.sub)};
    const bus::frame_t frame = host::CutIntoFrames(request)[0];
    MessageBytes delivery(J1939_MESSAGE_SIZE);
    platform::StoreLe32(delivery, J1939_IDENTIFIER_AT, frame.identifier);
    std::ranges::copy(frame.data, delivery.begin() + J1939_DATA_AT);
    record->canPackets.clear();
    HandleServiceMessage(record, delivery);

    EXPECT_EQ(record->canPackets.empty(), command.reply.frames > 0) << command.name;
    host::Reassembler reassembler;
    MessageBytes reply;
    const std::vector<MessageBytes> frames = FramesOf(manager);
    for (const MessageBytes& part : frames) reassembler.Accept(part, reply);
    const auto answer = answers.extract(std::string(command.name));
    if (answer) {
      EXPECT_EQ(host::FormatMessage(host::ReadReply(command, reply)), answer.mapped());
    }
    while (!reply.empty() && reply.back() == FRAME_PADDING) reply.pop_back();
    EXPECT_EQ(frames.size(), command.reply.frames) << command.name;
    std::size_t end = 0;
    for (const host::field_t& field : command.reply.fields) end = field.offset + std::size_t{field.size};
    EXPECT_EQ(reply.size(), end) << command.name;
  }
  EXPECT_TRUE(answers.empty());
}

}  // namespace
