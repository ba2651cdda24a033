#include "host/conversation.h"

#include <algorithm>

#include <gmock/gmock.h>

#include "host/words.h"
#include "tests/unit/host/hex.h"

namespace {

bus::frame_t Frame(std::uint32_t identifier, const std::string& data, std::uint64_t time_us = 0) {
  const auto bytes = FromHex(data);
  bus::frame_t frame{
      .identifier = identifier, .length = static_cast<std::uint8_t>(bytes.size()), .time_us = time_us};
  std::ranges::copy(bytes, frame.data.begin());
  return frame;
}

std::vector<std::string> Join(host::Reassembler& reassembler, const std::vector<const char*>& frames) {
  std::vector<std::string> messages;
  host::Message message;
  for (const char* frame : frames) {
    if (reassembler.Feed(FromHex(frame), message)) messages.push_back(ToHex(message));
  }
  return messages;
}

TEST(Reassembler, JoinsFramesAndGivesBrokenSequencesUpAsTheDisplayDoes) {
  struct case_t {
    std::vector<const char*> frames;
    std::vector<std::string> messages;
    std::uint64_t broken, strays;
  };
  const case_t cases[] = {
      {{"00 01 06 00 00 00 00 00", "00 02 01 02 03 04 05 06", "01 07 08"},
       {"06 00 00 00 00 00", "01 02 03 04 05 06 07 08 00 00 00 00 00"},
       0,
       0},                                                        // short ones are padded
      {{"00 03 00 00 00 00 00 00", "02 00", "01 00"}, {}, 1, 1},  // one is missing; what follows begins nothing
      {{"00 02 00", "00 02 00", "01 00"}, {}, 1, 1},  // a new beginning breaks and is used up itself
      {{"00 02 00", "01 00", "01 00"}, {"00 00 00 00 00 00 00 00 00 00 00 00 00"}, 0, 1},  // repeated
      {{"00 00 06", "05 00", "00 01 06"}, {"06 00 00 00 00 00"}, 0, 2}};  // no frames at all, no beginning
  for (const case_t& c : cases) {
    host::Reassembler reassembler;
    EXPECT_EQ(Join(reassembler, c.frames), c.messages);
    EXPECT_EQ(reassembler.Counters().messages, c.messages.size());
    EXPECT_EQ(reassembler.Counters().broken, c.broken);
    EXPECT_EQ(reassembler.Counters().strays, c.strays);
  }
}

TEST(Reassembler, TakesThirtySixFramesAndDropsMore) {
  for (const unsigned frames : {36U, 37U, 255U}) {
    host::Reassembler reassembler;
    host::Message message;
    bool whole = false;
    for (unsigned k = 0; k < frames; ++k) {
      const std::array<std::uint8_t, 8> data{static_cast<std::uint8_t>(k), static_cast<std::uint8_t>(frames)};
      whole = reassembler.Feed(data, message);
    }
    EXPECT_EQ(whole, frames == 36);
    EXPECT_EQ(reassembler.Counters().tooLong, frames == 36 ? 0U : 1U);
    EXPECT_EQ(message.size(), whole ? 251U : 0U);
  }
}

constexpr std::uint32_t kHost = 0x18FF00D0;
constexpr std::uint32_t kDisplay = 0x18FF00D2;
constexpr const char* kStray = "NOBODY";

TEST(Conversation, GivesEachReplyItsRequestAndNoticesWhatIsOutOfPlace) {
  struct case_t {
    const char* what;
    std::vector<bus::frame_t> frames;
    std::vector<std::string> words;
    std::uint64_t unanswered = 0, broken = 0, others = 0;
  };
  const case_t cases[] = {
      {"replies of several frames, each to its request",
       {Frame(kHost, "00 01 07 03"), Frame(kHost, "00 01 07 09"), Frame(kHost, "00 01 06"),
        Frame(kDisplay, "00 02 56 69 73 74 72 65"), Frame(kDisplay, "01 6C 20 FF FF FF FF FF"),
        Frame(kDisplay, "00 01 03 FF FF FF FF FF"), Frame(kDisplay, "00 01 FF 12 0A FF FF FF")},
       {"program-name", "led-brightness", "key-state", "program-name: \"Vistrel \"", "led-brightness: 3",
        "key-state: status 255, key info, last-key fly"}},
      {"the file id is left out, a reply that nobody asked for, and one that comes too late",
       {Frame(kHost, "00 01 07 05", 0), Frame(kHost, "00 01 07 07", 10),
        Frame(kDisplay, "00 01 00 FF FF FF FF FF", 20), Frame(kDisplay, "00 01 00 00 00 FF FF FF", 30),
        Frame(kHost, "00 01 06", 100), Frame(kDisplay, "00 01 00 00 00 FF FF FF", 1'000'200)},
       {"file-id", "lcd-status", "lcd-status: 0", kStray, "key-state", kStray},
       2},
      {"the display answers no request of two frames",
       {Frame(kHost, "00 02 06"), Frame(kHost, "01 FF"), Frame(kDisplay, "00 01 00 00 00")},
       {"key-state", kStray}},
      {"a request between the frames of a message",
       {Frame(kHost, "00 02 04 14"), Frame(kHost, "00 01 06"), Frame(kHost, "01 FF")},
       {"key-state", "beeper: 20 x 10 ms"}},
      {"a message between the frames of a message",
       {Frame(kHost, "00 02 04 14"), Frame(kHost, "00 01 04 00"), Frame(kHost, "01 FF")},
       {},
       0,
       1},
      {"another station",
       {Frame(kHost, "00 02 04 14"), Frame(0x18FF00D1, "00 01 06"), Frame(kHost, "01 FF")},
       {"unknown: bytes 00 01 06", "beeper: 20 x 10 ms"},
       0,
       0,
       1}};
  for (const case_t& c : cases) {
    host::Conversation conversation;
    std::vector<std::string> words;
    for (const bus::frame_t& frame : c.frames) {
      const auto heard = conversation.Feed(frame);
      if (!heard) continue;
      words.push_back(host::InWords(heard->decoded));
      if (words.back().find("nobody asked") != std::string::npos) words.back() = kStray;
    }
    EXPECT_EQ(words, c.words) << c.what;
    EXPECT_EQ(conversation.Unanswered(), c.unanswered) << c.what;
    EXPECT_EQ(conversation.Host().broken, c.broken) << c.what;
    EXPECT_EQ(conversation.Counters().others, c.others) << c.what;
  }
}

}  // namespace
