#include <gtest/gtest.h>

#include "core/name_tables.h"
#include "pages/action_channel.h"
#include "pages/key_dispatch.h"
#include "pages/key_report.h"
#include "pages/page_tables.h"
#include "services/dbshm.h"
#include "support/console_capture.h"
#include "support/test_record.h"

namespace {

// A record with all pages; the number of an action is its index and 100.
class Actions : public testing::Test {
 protected:
  Actions() {
    for (std::size_t i = 1; i < ACTION_NAME_COUNT; ++i) {
      data->actionIds[std::string(ACTION_ID_NAMES[i])] = static_cast<int>(i) + 100;
    }
    InitPages(data);
    for (auto& mask : data->keyMasks) mask = KEY_BEEP_ONCE;
  }

  void Show(int pageId) { HandleAction(data, static_cast<std::uint32_t>(pageId) + 100); }

  TestRecord data;
};

TEST_F(Actions, ActionsActInTheirOrder) {
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

TEST_F(Actions, ExternalKeysFollowTheirThreeVariables) {
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

TEST_F(Actions, KeysThatAreNoKeysAreReported) {
  ConsoleCapture console;
  SetQMT740KeyPressed(data, 23);
  const Pkey_t info = {KD620_KEY3, 18, EVENT_MAIN_TO_WAD, 0};
  data->keyReport1 = 18;
  DispatchKey(data, nullptr, &info, 7);
  EXPECT_EQ(data->keyReport1, 18) << "neither a press nor a release";
  EXPECT_EQ(data->lastPressedEvent, 0);
  DispatchKey(data, nullptr, &info, KEY_PRESSED);
  EXPECT_EQ(data->lastPressedEvent, EVENT_MAIN_TO_WAD);
  EXPECT_STREQ(data->lastPressedEventName, "orvik.MainToWad");
  EXPECT_EQ(data->keyReport2, 0xFF);
  EXPECT_EQ(console.Err(), "********** ERROR! Undefined Key State: 23\n");
  EXPECT_EQ(console.Out(), "ERROR!  Unknown key event 7\n");
}

}  // namespace
