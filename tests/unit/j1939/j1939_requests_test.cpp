#include "j1939/j1939_requests.h"

#include <vector>

#include "gmock/gmock.h"
#include "hostlink/j1939_external.h"

namespace unit {
namespace {

using bytes_t = std::vector<std::uint8_t>;
using ::testing::ElementsAre;

// The first five words, the rest of a message zero, and what follows it.
bytes_t Message(std::initializer_list<std::uint8_t> words, const std::string& name = "",
                std::size_t size = 1808) {
  bytes_t message(words);
  message.resize(size);
  message.insert(message.end(), name.begin(), name.end());
  return message;
}

TEST(J1939RequestsTest, AFilterRequestNamesIdentifierMaskAndChannel) {
  // 1808 + 19 = 0x723
  const bytes_t message = Message(
      {0, 0, 0, 0, 0x23, 7, 0, 0, 1, 0, 0, 0, 0xD0, 0, 0xFF, 0x18, 0xFF, 0xFF, 0xFF, 0}, "OrvikReceiveChannel");
  const auto filter = std::get<FilterRequest_t>(ReadRequest(message));
  EXPECT_EQ(filter.reach, Reach::kStandard);
  EXPECT_EQ(filter.identifier, 0x18FF00D0U);
  EXPECT_EQ(filter.mask, 0x00FFFFFFU);
  EXPECT_EQ(filter.channelName, "OrvikReceiveChannel");
}

TEST(J1939RequestsTest, ASendRequestMayLeaveItsLengthAtZero) {
  for (const bytes_t& lengthWord : {bytes_t{0, 0}, bytes_t{0x10, 7}}) {
    const bytes_t message = Message(
        {2, 0, 0, 0, lengthWord[0], lengthWord[1], 0, 0, 1, 0, 0, 0, 0xD2, 0, 0xFF, 0x18, 3, 0, 0, 0, 0, 1, 6});
    const auto request = std::get<SendRequest_t>(ReadRequest(message));
    EXPECT_EQ(request.identifier, 0x18FF00D2U);
    EXPECT_THAT(bytes_t(request.data.begin(), request.data.end()), ElementsAre(0, 1, 6));
  }
}

TEST(J1939RequestsTest, TheTypeTellsWhatItIsFor) {
  constexpr std::array<Reach, 7> REACHES = {Reach::kStandard,    Reach::kStandard,    Reach::kStandard,
                                            Reach::kMultipacket, Reach::kMultipacket, Reach::kFastpacket,
                                            Reach::kFastpacket};
  for (std::uint8_t type = 0; type < REACHES.size(); ++type) {
    const bool isFilter = type == 0 || type == 3 || type == 5;
    const bytes_t message = Message({type, 0, 0, 0, static_cast<std::uint8_t>(isFilter ? 0x11 : 0),
                                     static_cast<std::uint8_t>(isFilter ? 7 : 0), 0, 0, 1},
                                    isFilter ? "x" : "");
    const j1939_request_t request = ReadRequest(message);
    ASSERT_EQ(request.index(), isFilter ? 0U : 1U) << int{type};
    EXPECT_EQ(isFilter ? std::get<0>(request).reach : std::get<1>(request).reach, REACHES[type]);
  }
}

TEST(J1939RequestsTest, AMalformedRequestIsRefused) {
  struct {
    const char* what;
    bytes_t message;
  } const cases[] = {
      {"empty", {}},
      {"cut in its header", bytes_t(19)},
      {"type 7", Message({7, 0, 0, 0, 0, 0, 0, 0, 1})},
      {"port 0", Message({2})},
      {"port 2", Message({2, 0, 0, 0, 0, 0, 0, 0, 2})},
      {"30-bit identifier", Message({2, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0x20})},
      {"9 bytes in a frame", Message({2, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 9})},
      {"1786 bytes in a message", Message({4, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0xFA, 6})},
      {"4294967295 bytes", Message({4, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 255, 255, 255, 255})},
      {"less data than announced", Message({2, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 8}, "", 27)},
      {"length that is not the size", Message({2, 0, 0, 0, 0, 1, 0, 0, 1})},
      {"longer than a message", Message({2, 0, 0, 0, 0, 0, 0, 0, 1}, "x")},
      {"filter without a name", Message({0, 0, 0, 0, 0x10, 7, 0, 0, 1})},
      {"filter with a wrong length", Message({0, 0, 0, 0, 0x10, 7, 0, 0, 1}, "x")},
      {"filter with a zero in its name", Message({0, 0, 0, 0, 0x12, 7, 0, 0, 1}, std::string("x\0", 2))},
      {"filter with a name of 128 bytes", Message({0, 0, 0, 0, 0x90, 7, 0, 0, 1}, std::string(128, 'x'))},
  };
  for (const auto& c : cases) {
    EXPECT_TRUE(std::holds_alternative<RefusedRequest_t>(ReadRequest(c.message))) << c.what;
  }
}

}  // namespace
}  // namespace unit
