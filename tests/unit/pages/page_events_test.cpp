#include <map>
#include <memory>
#include <vector>

#include "platform/byte_order.h"

#include "core/operating_values.h"
#include "pages/action_channel.h"
#include "pages/display_transition.h"
#include "pages/key_dispatch.h"
#include "pages/key_report.h"
#include "pages/page_tables.h"
#include "services/dbshm.h"
#include "support/console_capture.h"
#include "support/notify_fixture.h"
#include "support/test_record.h"

namespace {

// A record whose events go to a subscriber; an event's number is its index in the table.
class PageEvents : public NotifyFixture {
 protected:
  PageEvents() {
    PrepareTestRuntime();
    record = std::make_unique<TestRecord>();
    subscriber = std::make_unique<Subscriber>("Events");
    data = record->Get();
    record->ConnectEvents("Events");
    for (std::size_t i = 1; i < EVENT_NAME_COUNT; ++i) {
      data->eventIds[std::string(EVENT_ID_NAMES[i])] = static_cast<int>(i);
    }
    for (std::size_t i = 1; i < ACTION_NAME_COUNT; ++i) {
      data->actionIds[std::string(ACTION_ID_NAMES[i])] = static_cast<int>(i) + 100;
    }
    InitPages(data);
    for (auto& mask : data->keyMasks) mask = KEY_BEEP_ONCE;
  }

  void Show(int pageId) { HandleAction(data, static_cast<std::uint32_t>(pageId) + 100); }

  // The events posted since the last call: posts a mark of its own and reads up to it.
  std::vector<std::string> Events() {
    constexpr int MARK = 1000;
    PostEventId(data, MARK);
    std::vector<std::string> names;
    for (;;) {
      const auto message = subscriber->Receive();
      if (message.size() != 4) return {"malformed"};
      const std::uint32_t id = platform::LoadLe32(message, 0);
      if (id == MARK) return names;
      names.emplace_back(EventName(static_cast<int>(id)));
    }
  }

  std::unique_ptr<TestRecord> record;
  std::unique_ptr<Subscriber> subscriber;
  orvikData_t* data = nullptr;
};

using names_t = std::vector<std::string>;

TEST_F(PageEvents, EveryKeyOfEveryPageReportsAndPostsWhatItsTableSays) {
  struct key_t {
    int hostKey;
    const char* event;
  };
  const std::map<int, std::map<int, key_t>> pages = {
      {ACTION_PAGE_SPLASH, {{8, {0, "orvik.SplashToSlate"}}}},
      {ACTION_PAGE_SLATE, {{8, {0, "orvik.SlateToGauges"}}}},
      {ACTION_PAGE_MAIN,
       {{1, {18, "orvik.MainToWad"}},
        {2, {0, ""}},
        {3, {9, ""}},
        {4, {19, "orvik.MainToWad"}},
        {5, {21, "orvik.MainToWad"}},
        {6, {0, "orvik.MainToDials"}},
        {7, {0, ""}},
        {8, {0, ""}}}},
      {ACTION_PAGE_WAD,
       {{1, {6, ""}},
        {2, {0, ""}},
        {3, {18, ""}},
        {4, {19, ""}},
        {5, {8, ""}},
        {6, {14, ""}},
        {7, {17, ""}},
        {8, {15, ""}}}},
      {ACTION_PAGE_CONFIG,
       {{1, {0, ""}},
        {2, {12, ""}},
        {3, {9, ""}},
        {4, {0, ""}},
        {5, {0, ""}},
        {6, {2, ""}},
        {7, {0, "orvik.ConfigToMain"}},
        {8, {19, ""}}}},
      {ACTION_PAGE_DIALS, {{7, {0, "orvik.DialsToMain"}}}},
  };
  for (const auto& [pageId, keys] : pages) {
    Show(pageId);
    for (int key = 1; key <= 9; ++key) {
      const auto found = keys.find(key);
      const key_t expected = found == keys.end() ? key_t{0, ""} : found->second;
      data->beeperState = 1;
      MatrixDispatch(data, static_cast<unsigned char>(key), KEY_PRESSED);
      EXPECT_EQ(getKeyData(data), static_cast<std::uint32_t>(expected.hostKey)) << pageId << " key " << key;
      EXPECT_EQ(data->keyStatus, expected.hostKey);
      EXPECT_EQ(data->keyReport2, expected.hostKey == 18 ? 0xFF : 0);
      const bool silent = expected.hostKey == 0 && *expected.event == '\0';
      EXPECT_EQ(data->beeperState, silent ? 1 : 2) << pageId << " key " << key;
      EXPECT_EQ(Events(), *expected.event == '\0' ? names_t{} : names_t{expected.event})
          << pageId << " key " << key;
      MatrixDispatch(data, static_cast<unsigned char>(key), KEY_RELEASED);
      EXPECT_EQ(data->keyStatus + data->keyReport1 + data->keyReport2, 0);
      EXPECT_EQ(Events(), names_t{});
    }
  }
}

TEST_F(PageEvents, MasksSilenceOrStopTheReport) {
  struct case_t {
    unsigned char mask;
    std::uint32_t queued;
    int beeper;
  };
  Show(ACTION_PAGE_WAD);
  for (const case_t& c : {case_t{0, 0, 1}, {1, 8, 1}, {0x7F, 8, 2}}) {
    data->keyMasks[8] = c.mask;
    data->beeperState = 1;
    MatrixDispatch(data, KD620_KEY5, KEY_PRESSED);
    EXPECT_EQ(getKeyData(data), c.queued);
    EXPECT_EQ(data->beeperState, c.beeper);
  }
  ConsoleCapture console;
  SetQMT740KeyPressed(data, 23);
  EXPECT_EQ(console.Err(), "********** ERROR! Undefined Key State: 23\n");
}

TEST_F(PageEvents, HostRequestsLeadFromTheirPageOnly) {
  const std::string inefficient = "WARNING!  INEFFICIENCY!  I am already on the Page.Main page";
  struct case_t {
    int request;
    const char *from, *to;
    int page;
    const char *event, *wrongPageError;
  };
  for (const case_t& c : {
           case_t{0, "WAD", "OPERATING", ACTION_PAGE_WAD, "orvik.WadToMain", "ERROR!  Not on proper page!\n"},
           {1, "CONFIG", "WAD", ACTION_PAGE_CONFIG, "orvik.ConfigToWad", "ERROR!  Not on proper page!\n"},
           {3, "SLATE", "MAIN", ACTION_PAGE_SLATE, "orvik.SlateToMain", ""},
           {4, "WAD", "CONFIG", ACTION_PAGE_WAD, "orvik.WadToConfig", ""},
           {5, "SLATE", "CONFIG", ACTION_PAGE_SLATE, "orvik.SlateToConfig", ""},
           {6, "OPERATING", "WAD", ACTION_PAGE_MAIN, "orvik.MainToWad", ""},
           {7, "SLATE", "WAD", ACTION_PAGE_SLATE, "orvik.SlateToWAD", ""},
       }) {
    const std::string asked =
        std::string("Received request to transition from ") + c.from + " page to " + c.to + " page while on ";
    Show(ACTION_PAGE_DIALS);
    {
      ConsoleCapture console;
      SetDisplayTransition(data, c.request);
      EXPECT_EQ(console.Out(), asked + "Page.Dials page\n");
      EXPECT_EQ(console.Err(), c.wrongPageError);
    }
    Show(c.page);
    ConsoleCapture console;
    SetDisplayTransition(data, c.request);
    EXPECT_EQ(console.Out(), asked + std::string(ActionName(c.page)) + " page\n");
    EXPECT_EQ(Events(), names_t{c.event});
  }
  Show(ACTION_PAGE_MAIN);
  ConsoleCapture console;
  SetDisplayTransition(data, 0);
  for (const int request : {2, 8, -1}) SetDisplayTransition(data, request);
  EXPECT_NE(console.Out().find(inefficient), std::string::npos);
  EXPECT_EQ(console.Err(),
            "ERROR! Received undefined transition request 2 while on Page.Main page\n"
            "ERROR! Received undefined transition request 8 while on Page.Main page\n"
            "ERROR! Received undefined transition request -1 while on Page.Main page\n");
  EXPECT_EQ(Events(), names_t{});
}

TEST_F(PageEvents, SelectModeBringsTheSelectKeysAndEndsWithThem) {
  Show(ACTION_PAGE_MAIN);
  SetSelectMode(data, true);
  EXPECT_EQ(Events(), names_t{"orvik.MainToWad"});
  Show(ACTION_PAGE_WAD);
  SetSelectMode(data, true);
  SetSelectMode(data, false);
  EXPECT_EQ(Events(), names_t{"orvik.WadToMain"});
  Show(ACTION_PAGE_CONFIG);
  SetSelectMode(data, true);
  EXPECT_EQ(Events(), names_t{});
  EXPECT_EQ(data->selectMode, 1);
}

TEST_F(PageEvents, ActionsActInTheirOrder) {
  ConsoleCapture console;
  Show(ACTION_PAGE_WAD);
  EXPECT_EQ(CurrentPageId(data), ACTION_PAGE_WAD);
  Show(ACTION_PAGE_ENGINE);  // a page without keys is no page of the set
  EXPECT_EQ(CurrentPageId(data), ACTION_PAGE_WAD);
  data->actionIds["ExitApplication"] = 100 + ACTION_PAGE_MAIN;
  EXPECT_TRUE(HandleAction(data, 100 + ACTION_PAGE_MAIN)) << "a number that names a page too acts as the page";
  data->actionIds["ExitApplication"] = 300;
  EXPECT_FALSE(HandleAction(data, 300));
  EXPECT_EQ(console.Err(), "Orvik: ERROR!  received unknown action 119\n");
}

TEST_F(PageEvents, ExternalKeysFollowTheirThreeVariables) {
  struct case_t {
    double enabled, code;
    std::uint32_t queued;
    int held, beeper;
  };
  Show(ACTION_PAGE_WAD);
  for (const case_t& c :
       {case_t{1, 3, 18, 18, 2}, {1, 0, 0, 0, 1}, {0, 3, 0, 0, 2}, {0, 0, 0, 0, 1}, {1, 1e9, 0, 0, 1}}) {
    DBSHM::Write(data->variables.externalKeysEnabled, c.enabled);
    DBSHM::Write(data->variables.externalSystemKeyCode, c.code);
    data->beeperState = 1;
    HandleAction(data, 100 + ACTION_KEY_PRESS_CHANGED);
    EXPECT_EQ(getKeyData(data), c.queued);
    EXPECT_EQ(data->keyStatus, c.held);
    EXPECT_EQ(data->beeperState, c.beeper);
  }
}

}  // namespace
