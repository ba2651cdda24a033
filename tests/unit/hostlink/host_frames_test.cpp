// The date in the reply to the host, and the requests to the J1939 service.
#include <array>
#include <string>
#include <utility>

#include <gmock/gmock.h>

#include "src/hostlink/immediate_replies.h"
#include "src/hostlink/j1939_external.h"
#include "tests/support/bytes.h"

namespace {

using testing::ElementsAre;

TEST(ProgramDateTest, AlwaysHasADayOfTwoDigits) {
  const program_date_t early = MakeProgramDate("Sep  7 2026");
  EXPECT_THAT(early.frame1, ElementsAre(0, 2, 'S', 'e', 'p', ' ', '0', '7'));
  EXPECT_THAT(early.frame2, ElementsAre(1, ' ', '2', '0', '2', '6', 0xFF, 0xFF));
  EXPECT_THAT(MakeProgramDate("Aug 27 2013").frame1, ElementsAre(0, 2, 'A', 'u', 'g', ' ', '2', '7'));
}

constexpr std::size_t FRAME_END = 28;  // after the eight data bytes

using message_t = std::array<char, 2000>;

message_t Untouched() {
  message_t message;
  message.fill('#');
  return message;
}

bytes_t Head(const message_t& message, std::size_t length) {
  return {message.begin(), message.begin() + static_cast<std::ptrdiff_t>(length)};
}

TEST(J1939ExternalTest, ARequestFillsItsPartOfTheBufferAlone) {
  using Api = J1939External;
  for (const auto& [build, type] :
       {std::pair{&Api::setFilter, 0}, {&Api::setMultipacketFilter, 3}, {&Api::setFastpacketFilter, 5}}) {
    SCOPED_TRACE(type);
    message_t message = Untouched();
    build(0x18FF00D0, 0x00FFFFFF, 1, "OrvikReceiveChannel", message.data());
    EXPECT_EQ(Head(message, 20), Words({type, 1827, 1, 0x18FF00D0, 0x00FFFFFF}));
    EXPECT_EQ(std::string(message.data() + 1806, 23), "##OrvikReceiveChannel##");
  }
  const std::array<std::uint8_t, 2000> data{0, 1, 7, 255, 4, 5, 6, 128};
  for (const auto& [build, type] : {std::pair{&Api::sendMsg, 1},
                                    {&Api::sendRawMsg, 2},
                                    {&Api::sendMultipacketMsg, 4},
                                    {&Api::sendFastpacketMsg, 6}}) {
    SCOPED_TRACE(type);
    message_t message = Untouched();
    build(0x98FF00D2, 8, 1, data.data(), message.data());
    EXPECT_EQ(Head(message, FRAME_END),
              Words({type, 1808, 1, 0x98FF00D2, 8}) + bytes_t(data.begin(), data.begin() + 8));
    EXPECT_EQ(std::string(message.data() + FRAME_END, 4), "####");
  }
  message_t message = Untouched();
  Api::sendMultipacketMsg(1, 2000, 1, data.data(), message.data());
  EXPECT_EQ(message[1807], 0);
  EXPECT_EQ(message[1808], '#');
}

}  // namespace
