// The threads between the bus and the record, started and stopped as main does it.
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/byte_order.h"

#include "hostlink/decapsulation.h"
#include "hostlink/watchdog.h"
#include "parse/parse_thread.h"
#include "support/console_capture.h"
#include "support/notify_fixture.h"
#include "support/test_record.h"

namespace {

using testing::HasSubstr;

constexpr const char* EVENTS = "orvik.Events";

class HostThreads : public NotifyFixture {
 protected:
  HostThreads() : events(EVENTS) {
    record.ConnectEvents(EVENTS);
    record->eventIds = {{"orvik.DecapsulateHeartbeatEvent", 201}, {"orvik.ParseHeartbeatEvent", 202}};
    record->running = 0;
  }

  void HostSends(const std::array<std::uint8_t, 8>& bytes) {
    CAN_packet_t2 packet;
    packet.data = bytes;
    addCanPacket(record, packet);
  }

  Subscriber events;
  TestRecord record;
};

TEST_F(HostThreads, CarryFramesToTheRecordAndSendHeartbeats) {
  ConsoleCapture console;
  ASSERT_EQ(Init_Decapsulate(record), 0);
  ASSERT_EQ(Init_Parse(record), 0);
  ASSERT_EQ(Init_Watchdog(record), 0);
  WaitUntil([this] { return record->decapReady + record->parseReady + record->watchdogReady == 3; });
  HostSends({0, 1, 7, 19, 5, 0, 0, 0});  // swing mode 5
  EXPECT_EQ(record->swingMode, 0);       // nobody works before the start

  record->running = 1;
  WaitUntil([this] { return record->swingMode == 5; });
  std::set<unsigned> heartbeats;
  while (heartbeats.size() < 2) heartbeats.insert(platform::LoadLe32(events.Receive(), 0));
  EXPECT_EQ(heartbeats, (std::set<unsigned>{201, 202}));

  record->decapExit = 1;
  record->parseExit = 1;
  record->watchdogExit = 1;
  WaitUntil([this] { return record->decapReady + record->parseReady + record->watchdogReady == 0; });
  EXPECT_EQ(console.Err(), "");
  for (const char* line :
       {"Orvik: Decapsulator initialization complete\n", "Orvik: Parser initialization complete\n",
        "Orvik: Watchdog initialization complete\n", "Orvik: Decapsulator thread EXIT\n",
        "Orvik: Parser thread EXIT\n", "Orvik: Watchdog thread EXIT\n"}) {
    EXPECT_THAT(console.Out(), HasSubstr(line));
  }
}

}  // namespace
