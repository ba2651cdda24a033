#include <gtest/gtest.h>

#include "host/protocol/cmd2_values.h"
#include "tests/support/hex.h"
#include "tests/support/test_folder.h"

namespace {

TEST(OperatingValuesTest, ComeBackFromTheirFileAndSurviveABrokenOne) {
  const TestFolder folder;
  host::Cmd2Values values;
  values.Set("percent", 85.5);
  values.Set("led", 0x80000002);
  values.Set("swing", -75);
  host::WriteSentValues(folder.Path(), values);
  EXPECT_EQ(ToHex(host::ReadSentValues(folder.Path()).MakeMessage()), ToHex(values.MakeMessage()));

  folder.Write("hx7.values", "load\nradius=abc\nnothing=1\nangle=60\n=\n\xFF\xFE");
  values = host::ReadSentValues(folder.Path());
  EXPECT_EQ(values.Get("angle"), 60);
  EXPECT_EQ(values.Get("radius"), 0);
}

}  // namespace
