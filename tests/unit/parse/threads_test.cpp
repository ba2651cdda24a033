// The threads between the bus and the record, started and stopped as main does it.
#include <set>

#include <gtest/gtest.h>

#include "platform/byte_order.h"

#include "hostlink/decapsulation.h"
#include "hostlink/watchdog.h"
#include "parse/parse_thread.h"
#include "support/console_capture.h"
#include "support/notify_fixture.h"
#include "support/test_record.h"

namespace {

constexpr const char* EVENTS = "orvik.Events";

class HostThreads : public NotifyFixture {
 protected:
  HostThreads() : events(EVENTS) {
    record.ConnectEvents(EVENTS);
    record->eventIds = {{"orvik.DecapsulateHeartbeatEvent", 201}, {"orvik.ParseHeartbeatEvent", 202}};
    record->running = 0;
  }

  Subscriber events;
  TestRecord record;
};

TEST_F(HostThreads, CarryFramesToTheRecordAndSendHeartbeats) {
  const ConsoleCapture console;
  ASSERT_EQ(Init_Decapsulate(record), 0);
  ASSERT_EQ(Init_Parse(record), 0);
  ASSERT_EQ(Init_Watchdog(record), 0);
  WaitUntil([this] { return record->decapReady + record->parseReady + record->watchdogReady == 3; });
  CAN_packet_t2 packet;
  packet.data = {0, 1, 7, 19, 5};  // swing mode 5
  addCanPacket(record, packet);
  EXPECT_EQ(record->swingMode, 0);  // nobody works before the start

  record->running = 1;
  WaitUntil([this] { return record->swingMode == 5; });
  std::set<unsigned> heartbeats;
  while (heartbeats.size() < 2) heartbeats.insert(platform::LoadLe32(events.Receive(), 0));
  EXPECT_EQ(heartbeats, (std::set<unsigned>{201, 202}));

  record->decapExit = 1;
  record->parseExit = 1;
  record->watchdogExit = 1;
  WaitUntil([this] { return record->decapReady + record->parseReady + record->watchdogReady == 0; });
}

}  // namespace
