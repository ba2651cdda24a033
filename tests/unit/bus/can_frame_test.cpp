#include "bus/can_frame.h"

#include <tuple>

#include <gmock/gmock.h>

#include "bus/log_lines.h"
#include "bus/socketcand_text.h"

namespace {

using bus::frame_t;
using testing::ElementsAre;

frame_t Frame(std::uint32_t identifier, bool extended, std::vector<std::uint8_t> data,
              std::uint64_t time_us = 0) {
  frame_t frame{.identifier = identifier, .extended = extended, .time_us = time_us};
  frame.length = static_cast<std::uint8_t>(data.size());
  std::copy(data.begin(), data.end(), frame.data.begin());
  return frame;
}

bool operator==(const frame_t& a, const frame_t& b) {
  return a.identifier == b.identifier && a.extended == b.extended && a.time_us == b.time_us &&
         std::ranges::equal(a.Bytes(), b.Bytes());
}

TEST(CanFrameTextTest, WritesAndReadsTheThreeForms) {
  const std::tuple<frame_t, const char*, const char*, const char*> cases[] = {
      {Frame(0x18FF00D0, true, {0, 1, 6, 0, 0, 0, 0, 0xAB}, 1436509052249713),
       "(1436509052.249713) can0 18FF00D0#00010600000000AB", "< send 18FF00D0 8 00 01 06 00 00 00 00 AB >",
       "< frame 18FF00D0 1436509052.249713 00010600000000AB >"},
      {Frame(0x7F, false, {1, 2}, 1000005), "(1.000005) can0 07F#0102", "< send 07F 2 01 02 >",
       "< frame 07F 1.000005 0102 >"},
      {Frame(0x7F, true, {}, 0), "(0.000000) can0 0000007F#", "< send 0000007F 0 >",
       "< frame 0000007F 0.000000  >"},
  };
  for (const auto& [frame, log, send, received] : cases) {
    SCOPED_TRACE(log);
    EXPECT_EQ(bus::FormatLogLine(frame, "can0"), log);
    EXPECT_EQ(bus::FormatSocketcandSend(frame), send);
    EXPECT_EQ(bus::FormatSocketcandFrame(frame), received);
    const auto line = bus::ParseLogLine(log);
    ASSERT_TRUE(line);
    EXPECT_TRUE(line->frame == frame);
    EXPECT_EQ(line->interface, "can0");
    const auto heard = bus::ParseSocketcandFrame(received);
    ASSERT_TRUE(heard);
    EXPECT_TRUE(*heard == frame);
    frame_t unstamped = frame;
    unstamped.time_us = 0;
    const auto sent = bus::ParseSocketcandSend(send);
    ASSERT_TRUE(sent);
    EXPECT_TRUE(*sent == unstamped);
  }
}

TEST(CanFrameTextTest, ReadsWhatOtherToolsWrite) {
  const frame_t expected = Frame(0x18FF00D2, true, {0, 1, 0xFF}, 1500000);
  for (const char* line : {"(1.500000) vcan0 18ff00d2#0001fF", "  (1.5) vcan0\t18FF00D2#0001FF T\r\n",
                           "(1.500000999) vcan0 18FF00D2#0001FF R"}) {
    const auto parsed = bus::ParseLogLine(line);
    ASSERT_TRUE(parsed) << line;
    EXPECT_TRUE(parsed->frame == expected) << line;
  }
  const auto spaced = bus::ParseSocketcandFrame("< frame 18FF00D2 1.500000 00 01 FF >\n");
  ASSERT_TRUE(spaced);
  EXPECT_TRUE(*spaced == expected);
  const auto single = bus::ParseSocketcandSend("<send 1 2 0 a>");
  ASSERT_TRUE(single);
  EXPECT_TRUE(*single == Frame(1, false, {0, 10}));
}

TEST(CanFrameTextTest, RefusesWhatIsNoDataFrame) {
  for (const char* line :
       {"", "(1.0) can0", "1.0 can0 123#00", "(1) can0 123#00", "(1.0) can0 123", "(1.0) can0 123#R",
        "(1.0 can0 123#00", "(1.) can0 123#00", "(1.0) can0 123##1001122", "(1.0) can0 123#0",
        "(1.0) can0 123#001122334455667788", "(1.0) can0 12#00", "(1.0) can0 1234#00", "(1.0) can0 800#00",
        "(1.0) can0 20000004#0000000000000000", "(1.0) can0 123#00 X", "(1234567890123.0) can0 123#00",
        "(1.0000000001) can0 123#00"}) {
    EXPECT_FALSE(bus::ParseLogLine(line)) << line;
  }
  for (const char* message :
       {"", "< >", "< send >", "< send 123 >", "< send 123 9 0 0 0 0 0 0 0 0 0 >", "< send 123 2 0 >",
        "< send 123 1 0 0 >", "< send 123 1 100 >", "< send 123 1 -1 >", "< send 1234 0 >",
        "< send 2000000000 0 >", "< frame 123 0 >", "send 123 0", "< send 123 0"}) {
    EXPECT_FALSE(bus::ParseSocketcandSend(message)) << message;
  }
  for (const char* message : {"< frame 123 >", "< frame 123 1 00 >", "< frame 123 1.0 0 >",
                              "< frame 123 1.0 001122334455667788 >", "< send 123 0 >"}) {
    EXPECT_FALSE(bus::ParseSocketcandFrame(message)) << message;
  }
}

std::vector<std::string> Drain(bus::SocketcandSplitter& splitter) {
  std::vector<std::string> messages;
  for (std::string message; splitter.Next(message);) messages.push_back(message);
  return messages;
}

TEST(SocketcandSplitterTest, JoinsPiecesAndPassesOverWhatStandsBetween) {
  bus::SocketcandSplitter splitter;
  splitter.Feed("\r\n< hi");
  EXPECT_THAT(Drain(splitter), ElementsAre());
  splitter.Feed(" >noise< ok ><");
  EXPECT_THAT(Drain(splitter), ElementsAre("< hi >", "< ok >"));
  splitter.Feed(" x >");
  EXPECT_THAT(Drain(splitter), ElementsAre("< x >"));
  EXPECT_EQ(splitter.Dropped(), 0U);
}

TEST(SocketcandSplitterTest, DropsMessagesBeyond256BytesAndGoesOn) {
  bus::SocketcandSplitter splitter;
  const std::string longest = "<" + std::string(254, 'a') + ">";
  splitter.Feed(longest + "<" + std::string(255, 'b') + ">< ok >");
  EXPECT_THAT(Drain(splitter), ElementsAre(longest, "< ok >"));
  EXPECT_EQ(splitter.Dropped(), 1U);
  for (int i = 0; i < 1000;
       ++i) {  // The message never ends. It is counted once, and the splitter keeps none of it.
    splitter.Feed(i == 0 ? "<" + std::string(300, 'c') : std::string(300, 'c'));
    EXPECT_THAT(Drain(splitter), ElementsAre());
  }
  EXPECT_EQ(splitter.Dropped(), 2U);
  splitter.Feed("< half < whole >");
  EXPECT_THAT(Drain(splitter), ElementsAre("< whole >"));
  EXPECT_EQ(splitter.Dropped(), 3U);
}

TEST(SocketcandSplitterTest, AServerTakesNothingAfterAByteOfAnotherProtocol) {
  const std::string longest = "<" + std::string(254, 'a') + ">";
  const std::tuple<std::string, std::vector<std::string>, bool> cases[] = {
      {" < a >\r\n\t<b>", {"< a >", "<b>"}, false},
      {"< a", {}, false},
      {longest, {longest}, false},
      {"POST / HTTP/1.1\r\n\r\n< a >", {}, true},
      {"< a >GET / HTTP/1.1\r\n< b >", {"< a >"}, true},
      {"< a > x", {"< a >"}, true},
      {"\x16\x03\x01< a >", {}, true},
      {"< a\x01 >< b >", {}, true},
      {"<\xC3", {}, true},
      {"< a < b >", {}, true},
      {"<" + std::string(256, 'a'), {}, true},
      {std::string(1, '\0') + "< a >", {}, true},
  };
  for (const auto& [bytes, messages, foreign] : cases) {
    SCOPED_TRACE(bytes);
    for (const std::size_t piece : {bytes.size(), std::size_t{1}}) {
      bus::SocketcandSplitter splitter(bus::SocketcandSplitter::foreign_bytes_t::REFUSE);
      std::vector<std::string> got;
      for (std::size_t at = 0; at < bytes.size(); at += piece) {
        splitter.Feed(std::string_view(bytes).substr(at, piece));
        std::ranges::move(Drain(splitter), std::back_inserter(got));
      }
      EXPECT_EQ(got, messages) << piece;
      EXPECT_EQ(splitter.IsForeign(), foreign) << piece;
    }
  }
}

}  // namespace
