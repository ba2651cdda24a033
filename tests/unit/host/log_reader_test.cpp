#include "host/log_reader.h"

#include <cstdlib>
#include <ctime>
#include <sstream>

#include <gmock/gmock.h>

#include "host/errors.h"

namespace {

std::vector<std::string> Read(const std::string& text, std::uint64_t* skipped = nullptr) {
  std::istringstream in(text);
  host::LogReader reader(in);
  std::vector<std::string> lines;
  while (const auto frame = reader.Next()) lines.push_back(bus::FormatLogLine(*frame, "-"));
  if (skipped != nullptr) *skipped = reader.Skipped();
  return lines;
}

TEST(LogReader, ReadsWhatOtherProgramsWrite) {
  ::setenv("TZ", "UTC-2", 1);
  ::tzset();
  const std::pair<const char*, const char*> cases[] = {
      // candump -L and -l, with -x; python-can's canutils writer
      {"(1436509052.249713) vcan0 18FF00D0#0001060000000000",
       "(1436509052.249713) - 18FF00D0#0001060000000000"},
      {"(1436509052.249713) vcan0 123#0102 R", "(1436509052.249713) - 123#0102"},
      {"(1436509052.249713) vcan0 18ff00d0#000106ff T", "(1436509052.249713) - 18FF00D0#000106FF"},
      // candump -ta, -tz, -x, -a, -tA
      {" (1436509052.249713)  vcan0  18FF00D0   [8]  00 01 06 00 00 00 00 00",
       "(1436509052.249713) - 18FF00D0#0001060000000000"},
      {" (000.000560)  can0  TX B -  123   [2]  01 02", "(0.000560) - 123#0102"},
      {" (1.5)  can0  123   [2]  41 42   'AB'", "(1.500000) - 123#4142"},
      {" (1.5)  can0  123   [0] ", "(1.500000) - 123#"},
      {" (2015-07-10 08:17:32.249713)  vcan0  123   [1]  07", "(1436509052.249713) - 123#07"},
      // python-can's ASC, log2asc's
      {"  12.003960 1  18FF00D0x       Rx   d 8 00 01 06 FF FF FF FF FF",
       "(12.003960) - 18FF00D0#000106FFFFFFFFFF"},
      {"   0.1000 1  7B              Tx   d 2 01 02  Length = 0 BitCount = 0", "(0.100000) - 07B#0102"},
      // python-can's CSV
      {"1436509052.2497132,0x18ff00d0,1,0,0,8,AAEGAAAAAAA=", "(1436509052.249713) - 18FF00D0#0001060000000000"},
      {"1.5,0x7b,0,0,0,2,AQI=\r", "(1.500000) - 07B#0102"},
      {"1.5,0x7b,0,0,0,0,", "(1.500000) - 07B#"},
  };
  for (const auto& [line, frame] : cases) EXPECT_THAT(Read(line), testing::ElementsAre(frame)) << line;
}

TEST(LogReader, PassesOverWhatIsNoDataFrameAndCountsIt) {
  const char* const lines[] = {"(1.0) can0 123#R",
                               "(1.0) can0 123##1010203",
                               "(1.0) can0 20000004#0000000000000000",
                               "(1.0) can0 123#010203040506070809",
                               "(1.0) can0 123#01 X",
                               " (1.0)  can0  123   [2]  remote request",
                               " (1.0)  can0  123  [08]  01 02 03 04 05 06 07 08",
                               " (1.0)  can0  123   [2]  01",
                               " (1.0)  can0  123   [2]  01 02 03",
                               " (2015-13-10 08:17:32.2)  can0  123   [1]  07",
                               "(",
                               "( ",
                               "()",
                               "(1.0)",
                               "1.0 1  123  Rx   r",
                               "1.0 1  123  Rx   d 9 00 01 02 03 04 05 06 07 08",
                               "1.0 1  20000004x Rx d 1 00",
                               "1.0 CANFD 1 Rx 123 1 0 8 8 00",
                               "1.0 1  ErrorFrame",
                               "timestamp,arbitration_id,extended,remote,error,dlc,data",
                               "1.0,0x7b,0,1,0,0,",
                               "1.0,0x7b,0,0,0,3,AQI=",
                               "1.0,0x7b,0,0,0,9,AQIDBAUGBwgJ",
                               "1.0,0x7b,0,0,0,1,?Q==",
                               "date Fri Jul 10 08:17:32.249 am 2015",
                               "base hex  timestamps absolute",
                               ",,,,,,,,,"};
  for (const char* line : lines) {
    std::uint64_t skipped = 0;
    EXPECT_THAT(Read(line, &skipped), testing::IsEmpty()) << line;
    EXPECT_EQ(skipped, 1U) << line;
  }
}

TEST(LogReader, RefusesALogThatCountsOtherwise) {
  EXPECT_THROW(Read("base dec  timestamps absolute\n1.0 1  123  Rx   d 1 00\n"), host::failure);
  EXPECT_THROW(Read("base hex  timestamps relative\n1.0 1  123  Rx   d 1 00\n"), host::failure);
}

}  // namespace
