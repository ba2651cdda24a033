#include "unit/notify/heartbeats.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "tests/support/test_folder.h"

namespace unit {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

TEST(HeartbeatMonitorTest, ReportsOnceWhenAWorkerFallsSilentAndOnceWhenItIsBack) {
  const TestFolder folder;
  const std::string file =
      folder.Write("generic.xml", R"(<orvik-generic version="1"><App id="1" name="a"/><Events channel="Events">
    <Event name="orvik.ParseHeartbeatEvent" id="70"/><Event name="orvik.DispatchHeartbeatEvent" id="300"/>
    <Event name="orvik.ExitApplication" id="9"/>
    </Events></orvik-generic>)");
  HeartbeatMonitor monitor;
  EXPECT_EQ(monitor.ReadEvents(file), "");
  EXPECT_EQ(monitor.ChannelName(), "Events");
  monitor.SetChannel(5);

  HeartbeatMonitor::TimePoint now{1000s};
  EXPECT_THAT(monitor.Check(now), IsEmpty()) << "a worker without a first heartbeat is not supervised";
  const std::vector<std::uint8_t> parse = {70, 0, 0, 0};
  const std::vector<std::uint8_t> dispatch = {44, 1, 0, 0};
  EXPECT_EQ(monitor.Note(5, parse, now), std::nullopt);
  EXPECT_EQ(monitor.Note(5, dispatch, now), std::nullopt);
  now += 1999ms;
  EXPECT_THAT(monitor.Check(now), IsEmpty());
  monitor.Note(5, dispatch, now);
  monitor.Note(4, parse, now);                          // another channel
  monitor.Note(5, std::vector<std::uint8_t>{70}, now);  // not an event number
  now += 1ms;
  EXPECT_THAT(monitor.Check(now), ElementsAre(HasSubstr("Parse")));
  EXPECT_THAT(monitor.Check(now + 1s), IsEmpty());
  EXPECT_THAT(monitor.Note(5, parse, now + 1s), ::testing::Optional(HasSubstr("Parse worker is back")));
  EXPECT_EQ(monitor.Note(5, parse, now + 1s), std::nullopt);

  // The application ends in order: neither its last heartbeats nor its silence are reported.
  now += 1s;
  monitor.Note(5, std::vector<std::uint8_t>{9, 0, 0, 0}, now);
  monitor.Note(5, parse, now + 10ms);
  EXPECT_THAT(monitor.Check(now + 5s), IsEmpty());
  // The application's next run is supervised again.
  now += 7s;
  monitor.Note(5, parse, now);
  EXPECT_THAT(monitor.Check(now + 2s), ElementsAre(HasSubstr("Parse"), HasSubstr("Dispatch")))
      << "Dispatch, which never began, too";
}

}  // namespace
}  // namespace unit
