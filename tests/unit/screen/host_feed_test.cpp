// When the host's values count as fresh after an application's start.
#include "unit/screen/live/host_feed.h"

#include <tuple>

#include <gtest/gtest.h>

namespace unit {
namespace {

using namespace std::chrono_literals;

TEST(HostFeedTest, ValuesAreFreshOnceTheApplicationHasShownThem) {
  const HostFeed::TimePoint start{100s};
  // When the values came and when is asked, after the application's start.
  const std::tuple<std::chrono::milliseconds, std::chrono::milliseconds, bool> cases[] = {
      {-10ms, 5000ms, false},  {10ms, 1199ms, false},  {10ms, 1200ms, true},
      {3000ms, 3199ms, false}, {3000ms, 3200ms, true},
  };
  for (const auto& [came, asked, fresh] : cases) {
    HostFeed feed;
    feed.NoteProgramStart(start);
    feed.Accept({.areValuesFresh = true, .valuesAt = start + came}, start + asked);
    EXPECT_EQ(feed.AreValuesFresh(start + asked), fresh) << came.count() << ", " << asked.count();
  }
}

}  // namespace
}  // namespace unit
