#include "host/conversation.h"

#include <algorithm>

#include <gmock/gmock.h>

#include "host/words.h"
#include "tests/unit/host/hex.h"

namespace {

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

// "D0 00 01 06": the last byte of the identifier, 18FF00xx, and the data.
bus::frame_t Frame(const std::string& text, std::uint64_t time_us) {
  const auto bytes = FromHex(text);
  bus::frame_t frame{.identifier = 0x18FF0000U + bytes[0],
                     .length = static_cast<std::uint8_t>(bytes.size() - 1),
                     .time_us = time_us};
  std::copy(bytes.begin() + 1, bytes.end(), frame.data.begin());
  return frame;
}

TEST(Conversation, GivesEachReplyItsRequestAndNoticesWhatIsOutOfPlace) {
  constexpr const char* kStray = "NOBODY";
  struct case_t {
    const char* what;
    std::vector<std::string> frames;
    std::vector<std::string> words;
    std::array<std::uint64_t, 3> counts;  // unanswered, broken, other stations
    std::uint64_t lastAt_us = 0;          // of the last frame
  };
  const case_t cases[] = {
      {"replies of several frames, each to its request",
       {"D0 00 01 07 03", "D0 00 01 07 09", "D0 00 01 06", "D2 00 02 56 69 73 74 72 65",
        "D2 01 6C 20 FF FF FF FF FF", "D2 00 01 03 FF FF FF FF FF", "D2 00 01 FF 12 0A FF FF FF"},
       {"program-name", "led-brightness", "key-state", "program-name: \"Vistrel \"", "led-brightness: 3",
        "key-state: status 255, key info, last-key fly"},
       {0, 0, 0}},
      {"the file id is left out, a reply that nobody asked for, and one that comes too late",
       {"D0 00 01 07 05", "D0 00 01 07 07", "D2 00 01 00 FF FF FF FF FF", "D2 00 01 00 00 00 FF FF FF",
        "D0 00 01 06", "D2 00 01 00 00 00 FF FF FF"},
       {"file-id", "lcd-status", "lcd-status: 0", kStray, "key-state", kStray},
       {2, 0, 0},
       1'000'200},
      {"the display answers no request of two frames",
       {"D0 00 02 06", "D0 01 FF", "D2 00 01 00 00 00"},
       {"key-state", kStray},
       {0, 0, 0}},
      {"a request between the frames of a message",
       {"D0 00 02 04 14", "D0 00 01 06", "D0 01 FF"},
       {"key-state", "beeper: 20 x 10 ms"},
       {0, 0, 0}},
      {"a message between the frames of a message",
       {"D0 00 02 04 14", "D0 00 01 04 00", "D0 01 FF"},
       {},
       {0, 1, 0}},
      {"another station",
       {"D0 00 02 04 14", "D1 00 01 06", "D0 01 FF"},
       {"unknown: bytes 00 01 06", "beeper: 20 x 10 ms"},
       {0, 0, 1}}};
  for (const case_t& c : cases) {
    host::Conversation conversation;
    std::vector<std::string> words;
    for (const std::string& frame : c.frames) {
      const auto heard = conversation.Feed(Frame(frame, &frame == &c.frames.back() ? c.lastAt_us : 0));
      if (!heard) continue;
      const std::string said = host::InWords(heard->decoded);
      words.push_back(said.find("nobody asked") == std::string::npos ? said : kStray);
    }
    EXPECT_EQ(words, c.words) << c.what;
    EXPECT_EQ(
        (std::array{conversation.Unanswered(), conversation.Host().broken, conversation.Counters().others}),
        c.counts)
        << c.what;
  }
}

}  // namespace
