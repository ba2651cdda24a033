// What control units beside the load computer send, byte by byte, and when.
#include "host/simulate/control_units.h"

#include <sstream>

#include <gmock/gmock.h>

#include "tests/support/hex.h"

namespace simulate {
namespace {

using testing::ElementsAre;

class ControlUnitsTest : public testing::Test {
 protected:
  // Each frame of the next 10 ms steps as "time identifier data", up to and including `until_ms`.
  std::vector<std::string> Pass(std::int64_t until_ms) {
    std::vector<std::string> lines;
    for (; now_ms_ <= until_ms; now_ms_ += 10) {
      for (const bus::frame_t& frame : units_.Step(now_ms_)) {
        std::ostringstream line;
        line << now_ms_ << ' ' << std::hex << std::uppercase << frame.identifier << ' ' << ToHex(frame.Bytes());
        lines.push_back(line.str());
      }
    }
    return lines;
  }

  ControlUnits units_;
  std::int64_t now_ms_ = 0;
};

TEST_F(ControlUnitsTest, RepeatTheirMessageEachSecondAndSendAChangeAtOnce) {
  units_.SwitchOn(0);
  EXPECT_THAT(Pass(1490),
              ElementsAre("0 18FECA00 00 FF 00 00 00 00 FF FF", "1000 18FECA00 00 FF 00 00 00 00 FF FF"));
  units_.SetCode(0, {.spn = 201268, .fmi = 31, .lamp = code_lamp_t::STOP, .count = 127});
  EXPECT_THAT(Pass(2600),
              ElementsAre("1500 18FECA00 10 FF 34 12 7F 7F FF FF", "2500 18FECA00 10 FF 34 12 7F 7F FF FF"));
  units_.ClearCode(0, 201268, 31);
  units_.SwitchOn(253);
  EXPECT_THAT(Pass(2700),
              ElementsAre("2610 18FECA00 00 FF 00 00 00 00 FF FF", "2610 18FECAFD 00 FF 00 00 00 00 FF FF"));
  units_.SwitchOff(0);
  EXPECT_THAT(Pass(3700), ElementsAre("3610 18FECAFD 00 FF 00 00 00 00 FF FF"));
}

TEST_F(ControlUnitsTest, AnnounceSeveralCodesAndSendThemInPackets) {
  units_.SetCode(3, {.spn = 177, .fmi = 0, .lamp = code_lamp_t::WARNING, .count = 5});
  units_.SetCode(3, {.spn = 100, .fmi = 1, .lamp = code_lamp_t::NONE, .count = 1});
  units_.SetCode(3, {.spn = 100, .fmi = 1, .lamp = code_lamp_t::MALFUNCTION, .count = 126});
  EXPECT_THAT(Pass(999),
              ElementsAre("0 1CECFF03 20 0A 00 02 FF CA FE 00", "50 1CEBFF03 01 44 FF B1 00 00 05 64",
                          "100 1CEBFF03 02 00 01 7E FF FF FF FF"));
}

TEST_F(ControlUnitsTest, HaveNoMoreCodesThanTheySendInASecond) {
  for (std::uint32_t spn = 1; spn <= 100; ++spn) units_.SetCode(0, {.spn = spn});
  EXPECT_THAT(Pass(0), ElementsAre("0 1CECFF00 20 7A 00 12 FF CA FE 00"));
  EXPECT_EQ(Pass(999).size(), 18U);
  EXPECT_THAT(Pass(1000), ElementsAre("1000 1CECFF00 20 7A 00 12 FF CA FE 00"));
}

}  // namespace
}  // namespace simulate
