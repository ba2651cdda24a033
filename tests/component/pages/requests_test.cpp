// The host's requests to change the page: what they print, and the events that they post.
#include <string>
#include <tuple>

#include <gmock/gmock.h>

#include "platform/byte_order.h"

#include "src/core/name_tables.h"
#include "src/pages/display_transition.h"
#include "src/pages/page_tables.h"
#include "src/services/nm_messages.h"
#include "tests/support/console_capture.h"
#include "tests/support/fake_service.h"
#include "tests/support/test_record.h"

namespace {

// The number of an event is its index.
class RequestsTest : public testing::Test {
 protected:
  RequestsTest() {
    record_.ConnectEvents("orvik.Events");
    for (std::size_t i = 1; i < EVENT_NAME_COUNT; ++i) {
      record_->eventIds[std::string(EVENT_ID_NAMES[i])] = static_cast<int>(i);
    }
    InitPages(record_);
    manager_.DrainRequests();
  }

  // The lines that a call prints, with "!" before errors, and the events that it posts.
  template <class Call>
  std::string Trace(const Call& call) {
    std::string trace;
    {
      ConsoleCapture console;
      call();
      trace = console.Out() + (console.Err().empty() ? "" : "!" + console.Err());
    }
    for (const bytes_t& request : manager_.DrainRequests()) {
      trace += std::string(EventName(static_cast<int>(platform::LoadLe32(request, NM_HEADER_SIZE)))) + "\n";
    }
    return trace;
  }

  std::string Request(int number, int page) {
    record_->currentPage = FindPage(record_, page);
    return Trace([this, number] { SetDisplayTransition(record_, number); });
  }

  TestRecord record_;
  FakeService manager_{NM_SERVER_NAME, [](const bytes_t&) { return Words({0, 6, 1, 1}); }};
};

TEST_F(RequestsTest, PageTransitionsWantTheirPage) {
  const std::string error = "!ERROR!  Not on proper page!\n";
  // The request, its two pages as printed, the page that it wants, its event, and what it prints on the Slate
  // page or, where that is the wanted one, on Main.
  const std::tuple<int, const char*, int, const char*, std::string> cases[] = {
      {0, "WAD page to OPERATING", ACTION_PAGE_WAD, "orvik.WadToMain\n", error},
      {1, "CONFIG page to WAD", ACTION_PAGE_CONFIG, "orvik.ConfigToWad\n", error},
      {3, "SLATE page to MAIN", ACTION_PAGE_SLATE, "orvik.SlateToMain\n", ""},
      {4, "WAD page to CONFIG", ACTION_PAGE_WAD, "orvik.WadToConfig\n", ""},
      {5, "SLATE page to CONFIG", ACTION_PAGE_SLATE, "orvik.SlateToConfig\n", ""},
      {6, "OPERATING page to WAD", ACTION_PAGE_MAIN, "orvik.MainToWad\n", ""},
      {7, "SLATE page to WAD", ACTION_PAGE_SLATE, "orvik.SlateToWAD\n", ""}};
  for (const auto& [number, pages, wanted, event, refusal] : cases) {
    const int other = wanted == ACTION_PAGE_SLATE ? ACTION_PAGE_MAIN : ACTION_PAGE_SLATE;
    const std::string line = std::string("Received request to transition from ") + pages + " page while on ";
    EXPECT_EQ(Request(number, wanted), line + std::string(ActionName(wanted)) + " page\n" + event);
    EXPECT_EQ(Request(number, other), line + std::string(ActionName(other)) + " page\n" + refusal);
  }
  EXPECT_THAT(Request(0, ACTION_PAGE_MAIN),
              testing::EndsWith("WARNING!  INEFFICIENCY!  I am already on the Page.Main page\n"));
  EXPECT_THAT(Request(1, ACTION_PAGE_MAIN), testing::EndsWith(error));
  for (const int number : {2, 8, -1}) {
    EXPECT_EQ(Request(number, ACTION_PAGE_WAD), "!ERROR! Received undefined transition request " +
                                                    std::to_string(number) + " while on Page.Wad page\n");
  }
  for (const auto& [on, page, event] : {std::tuple{true, ACTION_PAGE_MAIN, "orvik.MainToWad\n"},
                                        {true, ACTION_PAGE_WAD, ""},
                                        {false, ACTION_PAGE_WAD, "orvik.WadToMain\n"},
                                        {false, ACTION_PAGE_MAIN, ""}}) {
    record_->currentPage = FindPage(record_, page);
    EXPECT_EQ(Trace([&, o = on] { SetSelectMode(record_, o); }), event) << page;
    EXPECT_EQ(record_->selectMode, on ? 1 : 0);
  }
}

}  // namespace
