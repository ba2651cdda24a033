// The front keys from the port to the look-up on the page, and the actions for keys and pages.
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "platform/board_state.h"
#include "platform/device_io.h"

#include "src/core/name_tables.h"
#include "src/core/queues.h"
#include "src/devio/timer.h"
#include "src/pages/action_channel.h"
#include "src/pages/key_dispatch.h"
#include "src/pages/key_report.h"
#include "src/pages/keypad_scanner.h"
#include "src/pages/page_tables.h"
#include "src/services/dbshm.h"
#include "tests/support/console_capture.h"
#include "tests/support/test_record.h"

namespace {

// Stands before the tests that map the board, which stays mapped as long as the process lives.
TEST(ScannerWithoutBoard, ReportsThatItCannotMapThePort) {
  TestRecord record;
  record->threadStop[THREAD_KEYPAD] = 1;  // ends the thread's body after the first turn at the latest
  ConsoleCapture console;
  KEYPAD::keyPadScannerThreadFn(record);
  EXPECT_EQ(console.Err(), "Orvik: ERROR!  Unable to map the keypad port\n");
}

// The scanner on the emulated port. The test lowers the timer's countdowns itself.
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

  void Hold(const std::vector<int>& keys) {
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

  TestRecord record_;  // makes the runtime directory, which the board needs
  platform::BoardMapping board_;
  std::uintptr_t port_;
};

TEST_F(ScannerTest, SetsUpThePortAndItsPads) {
  platform::board_state_t& board = *board_.Get();
  board.keypadDirection = 0;
  record_->threadStop[THREAD_KEYPAD] = 1;
  const ConsoleCapture console;
  KEYPAD::keyPadScannerThreadFn(record_);
  EXPECT_EQ(board.keypadControl, 0x0F0FU);
  EXPECT_EQ(board.keypadDirection, 0x0F00U);
  EXPECT_EQ(board.padControl[1], 0x12121212U);
  EXPECT_EQ(board.padControl[3], 0x12121212U);
}

TEST_F(ScannerTest, ReadsEachKeyAndThePairAndNothingElse) {
  const std::tuple<std::vector<int>, int, int> chords[] = {
      {{1}, 0x0001, 1},    {{2}, 0x0002, 2},    {{3}, 0x0004, 3},       {{4}, 0x0008, 4},
      {{5}, 0x0010, 5},    {{6}, 0x0020, 6},    {{7}, 0x1000, 7},       {{8}, 0x2000, 8},
      {{5, 8}, 0x2010, 9}, {{1, 2}, 0x0003, 0}, {{1, 5, 8}, 0x2011, 0}, {{1, 2, 3}, 0x0007, 0},
      {{}, 0, 0}};
  for (const auto& [keys, code, key] : chords) {
    SCOPED_TRACE(testing::PrintToString(keys));
    Hold({});
    Scan(8);
    Hold(keys);
    EXPECT_EQ(KEYPAD::ScanMatrix(port_), code);
    Scan(4);
    EXPECT_EQ(KEYPAD::NewKey, key);
  }
}

TEST_F(ScannerTest, WantsTwoTicksForAPressAndSixForARelease) {
  Hold({3});
  Scan(1);
  EXPECT_EQ(KEYPAD::KeyHeld, 0);
  Hold({});
  Scan(8);
  EXPECT_EQ(KEYPAD::KeyHeld, 0) << "a press that is too short is not taken";
  Hold({3});
  Scan(3);
  EXPECT_EQ(KEYPAD::KeyHeld, 3);
  Hold({});
  Scan(5);
  EXPECT_EQ(KEYPAD::KeyHeld, 3);
  Hold({3});
  Scan(5);
  EXPECT_EQ(KEYPAD::KeyHeld, 3) << "a release that is too short is not taken";
  Hold({});
  Scan(7);
  EXPECT_EQ(KEYPAD::KeyHeld, 0);
}

TEST_F(ScannerTest, TheHigherNumberCountsWhileAReleaseIsNotYetTaken) {
  for (const auto& [first, second, between] : {std::tuple{3, 5, 5}, {5, 3, 5}}) {
    SCOPED_TRACE(first);
    Hold({first});
    Scan(4);
    Hold({second});
    Scan(4);
    EXPECT_EQ(KEYPAD::NewKey, between);
    Scan(4);
    EXPECT_EQ(KEYPAD::NewKey, second);
    Hold({});
    Scan(8);
  }
}

// A record with all pages. The number of an action is its index plus 100.
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
  Show(ACTION_PAGE_ENGINE);  // the set has no such page
  EXPECT_EQ(CurrentPageId(data_), ACTION_PAGE_WAD);
  data_->actionIds["ExitApplication"] = 100 + ACTION_PAGE_MAIN;
  EXPECT_TRUE(HandleAction(data_, 100 + ACTION_PAGE_MAIN)) << "where a number is also a page's, the page wins";
  data_->actionIds["ExitApplication"] = 300;
  EXPECT_FALSE(HandleAction(data_, 300));
  EXPECT_EQ(console.Err(), "Orvik: ERROR!  received unknown action 119\n");
}

TEST_F(ActionsTest, AReleaseEndsTheKeyStatusWhateverItFindsOnThePage) {
  const ConsoleCapture console;
  for (const int pageAtRelease :
       {ACTION_PAGE_MAIN, ACTION_PAGE_CONFIG, ACTION_PAGE_SPLASH, ACTION_PAGE_DIALS}) {
    Show(ACTION_PAGE_MAIN);
    MatrixDispatch(data_, KD620_KEY4, KEY_PRESSED);
    EXPECT_EQ(data_->keyStatus, 19);
    Show(pageAtRelease);
    MatrixDispatch(data_, KD620_KEY4, KEY_RELEASED);
    EXPECT_EQ(data_->keyStatus, 0) << ActionName(pageAtRelease);
  }
}

TEST_F(ActionsTest, ExternalKeysFollowTheirThreeVariables) {
  Show(ACTION_PAGE_WAD);
  const std::tuple<const char*, double, double, std::uint32_t, int, int> cases[] = {
      {"press", 1, 3, 18, 18, 2},
      {"release", 1, 0, 0, 0, 1},
      {"press of a disabled key", 0, 3, 0, 0, 2},
      {"release of a disabled key", 0, 0, 0, 0, 1},
      {"a number that no key has", 1, 1e9, 0, 0, 1}};
  for (const auto& [name, enabled, code, queued, held, beeper] : cases) {
    SCOPED_TRACE(name);
    DBSHM::Write(data_->variables.externalKeysEnabled, enabled);
    DBSHM::Write(data_->variables.externalSystemKeyCode, code);
    data_->beeperState = 1;
    HandleAction(data_, 100 + ACTION_KEY_PRESS_CHANGED);
    EXPECT_EQ(getKeyData(data_), queued);
    EXPECT_EQ(data_->keyStatus, held);
    EXPECT_EQ(data_->beeperState, beeper);
  }
}

}  // namespace
