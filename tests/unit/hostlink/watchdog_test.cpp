#include "hostlink/watchdog.h"

#include <gtest/gtest.h>

#include "platform/byte_order.h"

#include "core/name_tables.h"
#include "support/notify_fixture.h"
#include "support/test_record.h"

namespace {

constexpr const char* EVENTS = "orvik.Events";

class Watchdog : public NotifyFixture {
 protected:
  Watchdog() : events(EVENTS) {
    record.ConnectEvents(EVENTS);
    record->eventIds = {
        {"orvik.SplashToSlate", 101}, {"orvik.SplashToGauges", 102}, {"orvik.ConfigToMain", 103}};
    record->currentPage = &page;
  }

  void Tick(int times) {
    for (int i = 0; i < times; ++i) WatchdogTick(record);
  }
  double LinkState() { return ParameterValue("OrvikHX7TimeOutLamp"); }

  // The events posted since the last call, in order; ended by one of the test's own.
  std::vector<unsigned> Events() {
    constexpr int END = 999;
    PostEventId(record, END);
    std::vector<unsigned> ids;
    for (;;) {
      const auto message = events.Receive();
      EXPECT_EQ(message.size(), 4U);
      const unsigned id = platform::LoadLe32(message, 0);
      if (id == END) return ids;
      ids.push_back(id);
    }
  }

  Subscriber events;
  TestRecord record;
  Page_t page{ACTION_PAGE_CONFIG, EVENT_CONFIG_TO_MAIN, 0, {}};
};

TEST_F(Watchdog, CountsTheLinkAsLostOnTheEleventhTick) {
  record->hostSeen = 1;
  Tick(10);
  EXPECT_EQ(LinkState(), 1.0);
  EXPECT_EQ(record->hostTimedOut, 0);
  EXPECT_EQ(Events(), std::vector<unsigned>{});

  Tick(1);
  EXPECT_EQ(LinkState(), 2.0);
  EXPECT_EQ(record->hostTimedOut, 1);
  EXPECT_EQ(record->hostSeen, 0);
  EXPECT_EQ(Events(), std::vector<unsigned>{103});
  Tick(3);  // again every second, and the count stays
  EXPECT_EQ(record->watchdogSeconds, 11);
  EXPECT_EQ(Events(), (std::vector<unsigned>{103, 103, 103}));

  record->watchdogSeconds = 0;  // one host frame
  record->hostSeen = 1;
  Tick(1);
  EXPECT_EQ(LinkState(), 1.0);
  EXPECT_EQ(record->hostTimedOut, 0);
  EXPECT_EQ(Events(), std::vector<unsigned>{});
}

TEST_F(Watchdog, PostsNoTimeOutEventWhereThereIsNone) {
  page.timeOutEvent = EVENT_ID_NONE;
  Tick(12);
  page.timeOutEvent = EVENT_MAIN_TO_WAD;  // which the configuration does not number
  Tick(1);
  record->currentPage = nullptr;
  Tick(1);
  EXPECT_EQ(Events(), std::vector<unsigned>{});
}

TEST_F(Watchdog, LeavesTheSplashPageOnceTheHostIsHeardAndDoesNothingWhileTheApplicationEnds) {
  page.pageId = ACTION_PAGE_SPLASH;
  Tick(1);
  EXPECT_EQ(Events(), std::vector<unsigned>{});
  record->hostSeen = 1;
  Tick(2);  // each tick until the page changes
  EXPECT_EQ(Events(), (std::vector<unsigned>{101, 102, 101, 102}));
  record->running = 0;
  Tick(12);
  EXPECT_EQ(Events(), std::vector<unsigned>{});
}

}  // namespace
