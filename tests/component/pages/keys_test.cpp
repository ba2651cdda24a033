// The front keys from the port to the look-up on the page, and the actions that stand for keys and pages.
#include <gtest/gtest.h>

#include "platform/board_state.h"
#include "platform/device_io.h"

#include "src/core/name_tables.h"
#include "src/core/queues.h"
#include "src/devio/timer.h"
#include "src/pages/action_channel.h"
#include "src/pages/key_report.h"
#include "src/pages/keypad_scanner.h"
#include "src/pages/page_tables.h"
#include "src/services/dbshm.h"
#include "tests/support/console_capture.h"
#include "tests/support/test_record.h"

namespace {

// The scanner on the emulated port, with the timer's ticks given by hand.
class ScannerTest : public testing::Test {
 protected:
  ScannerTest() : board_(platform::BoardMapping::role_t::OWNER) {
    ThreadCtl(_NTO_TCTL_IO, nullptr);
    port_ = mmap_device_io(8, 0x43FA8000);
    out16(port_ + 4, 0x0F00);
    KEYPAD::ResetScanner(record_);
    KEYPAD::KeyHeld = 0;
    Page_t& page = record_->target.pages.emplace_back();
    page.pageId = ACTION_PAGE_SLATE;
    page.keys = {{0, 0, 0, 0}};
    record_->currentPage = &record_->target.pages[0];
  }

  void Hold(std::initializer_list<int> keys) {
    std::uint32_t held = 0;
    for (const int key : keys) held |= 1U << (key - 1);
    board_.Get()->keysHeld[0] = held;
  }

  void Scan(int ticks) {
    for (int i = 0; i <= ticks; ++i) {
      KEYPAD::FindButton(KEYPAD::ScanMatrix(port_));
      KEYPAD::DebounceButtons(record_);
      KEYPAD::DispatchChange(record_);
      LowerCountdowns(record_);
    }
  }

  TestRecord record_;  // makes the runtime directory in which the board lies
  platform::BoardMapping board_;
  std::uintptr_t port_;
};

TEST_F(ScannerTest, ReadsEachKeyAndThePairAndNothingElse) {
  struct case_t {
    std::initializer_list<int> keys;
    int code, key;
  };
  for (const case_t& c : {case_t{{1}, 0x0001, 1},
                          {{2}, 0x0002, 2},
                          {{3}, 0x0004, 3},
                          {{4}, 0x0008, 4},
                          {{5}, 0x0010, 5},
                          {{6}, 0x0020, 6},
                          {{7}, 0x1000, 7},
                          {{8}, 0x2000, 8},
                          {{5, 8}, 0x2010, 9},
                          {{1, 2}, 0x0003, 0},
                          {{1, 5, 8}, 0x2011, 0},
                          {{1, 2, 3}, 0x0007, 0},
                          {{}, 0, 0}}) {
    Hold({});
    Scan(8);
    Hold(c.keys);
    EXPECT_EQ(KEYPAD::ScanMatrix(port_), c.code);
    Scan(4);
    EXPECT_EQ(KEYPAD::NewKey, c.key) << c.code;
  }
}

TEST_F(ScannerTest, WantsTwoTicksForAPressAndSixForARelease) {
  Hold({3});
  Scan(1);
  EXPECT_EQ(KEYPAD::KeyHeld, 0);
  Hold({});
  Scan(8);
  EXPECT_EQ(KEYPAD::KeyHeld, 0) << "a press that was too short never arrives";
  Hold({3});
  Scan(3);
  EXPECT_EQ(KEYPAD::KeyHeld, 3);
  Hold({});
  Scan(5);
  EXPECT_EQ(KEYPAD::KeyHeld, 3);
  Hold({3});
  Scan(5);
  EXPECT_EQ(KEYPAD::KeyHeld, 3) << "a release that was too short keeps the key held";
  Hold({});
  Scan(7);
  EXPECT_EQ(KEYPAD::KeyHeld, 0);
}

// A record with all pages; the number of an action is its index and 100.
class ActionsTest : public testing::Test {
 protected:
  ActionsTest() {
    for (std::size_t i = 1; i < ACTION_NAME_COUNT; ++i) {
      data_->actionIds[std::string(ACTION_ID_NAMES[i])] = static_cast<int>(i) + 100;
    }
    InitPages(data_);
    for (auto& mask : data_->keyMasks) mask = KEY_BEEP_ONCE;
  }

  void Show(int pageId) { HandleAction(data_, static_cast<std::uint32_t>(pageId) + 100); }

  TestRecord data_;
};

TEST_F(ActionsTest, ActionsActInTheirOrder) {
  ConsoleCapture console;
  Show(ACTION_PAGE_WAD);
  EXPECT_EQ(CurrentPageId(data_), ACTION_PAGE_WAD);
  Show(ACTION_PAGE_ENGINE);  // a page without keys is no page of the set
  EXPECT_EQ(CurrentPageId(data_), ACTION_PAGE_WAD);
  data_->actionIds["ExitApplication"] = 100 + ACTION_PAGE_MAIN;
  EXPECT_TRUE(HandleAction(data_, 100 + ACTION_PAGE_MAIN)) << "a number that names a page too acts as the page";
  data_->actionIds["ExitApplication"] = 300;
  EXPECT_FALSE(HandleAction(data_, 300));
  EXPECT_EQ(console.Err(), "Orvik: ERROR!  received unknown action 119\n");
}

TEST_F(ActionsTest, ExternalKeysFollowTheirThreeVariables) {
  struct case_t {
    double enabled, code;
    std::uint32_t queued;
    int held, beeper;
  };
  Show(ACTION_PAGE_WAD);
  for (const case_t& c :
       {case_t{1, 3, 18, 18, 2}, {1, 0, 0, 0, 1}, {0, 3, 0, 0, 2}, {0, 0, 0, 0, 1}, {1, 1e9, 0, 0, 1}}) {
    DBSHM::Write(data_->variables.externalKeysEnabled, c.enabled);
    DBSHM::Write(data_->variables.externalSystemKeyCode, c.code);
    data_->beeperState = 1;
    HandleAction(data_, 100 + ACTION_KEY_PRESS_CHANGED);
    EXPECT_EQ(getKeyData(data_), c.queued);
    EXPECT_EQ(data_->keyStatus, c.held);
    EXPECT_EQ(data_->beeperState, c.beeper);
  }
}

}  // namespace
