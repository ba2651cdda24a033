// From the frames of the control units to the list of active faults.
#include <vector>

#include <gmock/gmock.h>

#include "tests/support/bytes.h"
#include "unit/faults/fault_list.h"
#include "unit/faults/fault_report.h"
#include "unit/faults/trouble_codes.h"

namespace unit {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr FaultList::TimePoint START{1h};

using codes_t = std::vector<trouble_code_t>;

// A DM1 of three codes (14 bytes) in the announcement and two packets.
constexpr std::uint32_t ANNOUNCED = 0x1CECFF03, PACKET = 0x1CEBFF03;
const bytes_t ANNOUNCEMENT{32, 14, 0, 2, 0xFF, 0xCA, 0xFE, 0};
const bytes_t FIRST{1, 0x04, 0xFF, 177, 0, 0x00, 0x01, 190};
const bytes_t SECOND{2, 0, 0x02, 0x02, 0x27, 0x06, 0x13, 0x03};

struct bus_frame_t {
  std::uint32_t identifier;
  bytes_t data;
  std::chrono::milliseconds at{0};
};

codes_t CodesAfter(const std::vector<bus_frame_t>& frames) {
  FaultList list;
  for (const bus_frame_t& frame : frames) list.Accept(frame.identifier, frame.data, START + frame.at);
  codes_t codes;
  for (const fault_t& fault : list.MakeReport(START + frames.back().at).first) codes.push_back(fault.code);
  return codes;
}

TEST(ActiveFaultsTest, ABroadcastIsJoinedFromItsFramesInOrderAndInTime) {
  const codes_t three{{177, 0, 1}, {190, 2, 2}, {0x627, 19, 3}};
  const bytes_t otherPgn{32, 14, 0, 2, 0xFF, 0xCB, 0xFE, 0}, wrongSize{32, 15, 0, 2, 0xFF, 0xCA, 0xFE, 0};
  const bytes_t shorter{32, 10, 0, 2, 0xFF, 0xCA, 0xFE, 0};
  const bytes_t tooSmall{32, 8, 0, 2, 0xFF, 0xCA, 0xFE, 0}, toOne{16, 14, 0, 2, 0xFF, 0xCA, 0xFE, 0};
  const bus_frame_t begin{ANNOUNCED, ANNOUNCEMENT};
  const std::vector<std::tuple<const char*, std::vector<bus_frame_t>, codes_t>> cases{
      {"whole", {begin, {PACKET, FIRST}, {PACKET, SECOND}}, three},
      {"another source between",
       {begin, {0x1CECFF04, ANNOUNCEMENT}, {PACKET, FIRST}, {0x1CEBFF04, FIRST}, {PACKET, SECOND}},
       three},
      {"of less than two packets",
       {{ANNOUNCED, shorter}, {PACKET, FIRST}, {PACKET, SECOND}},
       {{177, 0, 1}, {190, 2, 2}}},
      {"begun anew", {begin, {PACKET, FIRST}, begin, {PACKET, FIRST}, {PACKET, SECOND}}, three},
      {"at the limit", {begin, {PACKET, FIRST, 750ms}, {PACKET, SECOND, 1500ms}}, three},
      {"too late", {begin, {PACKET, FIRST, 751ms}, {PACKET, SECOND, 752ms}}, {}},
      {"first packet missing", {begin, {PACKET, SECOND}, {PACKET, FIRST}}, {}},
      {"packet twice", {begin, {PACKET, FIRST}, {PACKET, FIRST}, {PACKET, SECOND}}, {}},
      {"cut packet", {begin, {PACKET, FIRST}, {PACKET, {2, 0, 0x02}}}, {}},
      {"no announcement", {{PACKET, FIRST}, {PACKET, SECOND}}, {}},
      {"another PGN", {{ANNOUNCED, otherPgn}, {PACKET, FIRST}, {PACKET, SECOND}}, {}},
      {"size and packets disagree", {{ANNOUNCED, wrongSize}, {PACKET, FIRST}, {PACKET, SECOND}}, {}},
      {"size of one frame", {{ANNOUNCED, tooSmall}, {PACKET, FIRST}, {PACKET, SECOND}}, {}},
      {"a connection to one station", {{ANNOUNCED, toOne}, {PACKET, FIRST}, {PACKET, SECOND}}, {}}};
  for (const auto& [name, frames, codes] : cases) EXPECT_EQ(CodesAfter(frames), codes) << name;
}

constexpr std::uint32_t DM1_OF = 0x18FECA00;  // and the source address

TEST(ActiveFaultsTest, AControlUnitThatFallsSilentIsForgotten) {
  FaultList list;
  EXPECT_FALSE(list.MakeReport(START).heard);
  list.Accept(DM1_OF, bytes_t{0x10, 0, 100, 0, 1, 1}, START);
  list.Accept(DM1_OF + 3, bytes_t{0x04, 0, 177, 0, 0, 1}, START + 1s);
  list.Accept(DM1_OF + 3, bytes_t{0, 0}, START + 2s);  // too short to count as heard
  EXPECT_EQ(list.MakeReport(START + 5s).active, 2);
  EXPECT_THAT(list.MakeReport(START + 5001ms).first, ElementsAre(fault_t{3, {177, 0, 1}}));
  list.Accept(DM1_OF + 3, bytes_t{0, 0xFF, 0, 0, 0, 0}, START + 6s);
  const fault_report_t cleared = list.MakeReport(START + 6s);
  EXPECT_TRUE(cleared.heard);
  EXPECT_THAT(cleared.lamps, ElementsAre(false, false, false, false));
  EXPECT_THAT(cleared.first, IsEmpty());
  EXPECT_FALSE(list.MakeReport(START + 12s).heard);
}

TEST(ActiveFaultsTest, TheMostUrgentComeFirstAndTheRestIsCounted) {
  FaultList list;
  bytes_t many{0, 0};
  for (std::uint8_t spn = 1; spn <= 20; ++spn) many = many + bytes_t{spn, 0, 3, 1};
  list.Accept(DM1_OF, many, START);
  list.Accept(DM1_OF + 2, bytes_t{0x04, 0, 102, 0, 1, 1}, START);
  list.Accept(DM1_OF + 9, bytes_t{0x10, 0, 100, 0, 1, 1}, START);
  const fault_report_t report = list.MakeReport(START);
  EXPECT_EQ(report.active, 22);
  ASSERT_EQ(report.first.size(), MAX_REPORTED_FAULTS);
  EXPECT_EQ(report.first[0].source, 9);
  EXPECT_EQ(report.first[1].source, 2);
  EXPECT_EQ(report.first[2], (fault_t{0, {1, 3, 1}}));
  EXPECT_THAT(report.lamps, ElementsAre(false, true, true, false));
  EXPECT_EQ(ReadFaultReport(WriteFaultReport(report)), report);
}

TEST(ActiveFaultsTest, TheReportComesAtAChangeAndOnceASecond) {
  FaultList list;
  EXPECT_TRUE(list.TakeIfDue(START));
  EXPECT_FALSE(list.TakeIfDue(START + 999ms));
  list.Accept(DM1_OF, bytes_t{0x10, 0, 100, 0, 1, 1}, START + 999ms);
  EXPECT_TRUE(list.TakeIfDue(START + 999ms));
  EXPECT_FALSE(list.TakeIfDue(START + 1998ms));
  EXPECT_TRUE(list.TakeIfDue(START + 1999ms));
}

TEST(FaultReportTest, AMessageOfAnotherSizeIsRefused) {
  for (const std::size_t size : {0U, 3U, 5U, 11U, 13U, 76U})
    EXPECT_FALSE(ReadFaultReport(bytes_t(size))) << size;
  fault_report_t unknown{true, {}, 1, {{3, {std::nullopt, 2, COUNT_UNKNOWN}}}};
  EXPECT_EQ(ReadFaultReport(WriteFaultReport(unknown)), unknown);
}

}  // namespace
}  // namespace unit
