#include "pages/keypad_scanner.h"

#include <vector>

#include <gtest/gtest.h>

#include "platform/board_state.h"
#include "platform/device_io.h"

#include "devio/timer.h"
#include "pages/page_tables.h"
#include "support/console_capture.h"
#include "support/test_record.h"

namespace {

// The scanner on the emulated port, with the timer's ticks given by hand.
class Scanner : public testing::Test {
 protected:
  Scanner() : runtime_(PrepareTestRuntime()), board_(platform::BoardMapping::Role::kOwner) {
    ThreadCtl(_NTO_TCTL_IO, nullptr);
    port_ = mmap_device_io(8, 0x43FA8000);
    out16(port_ + 4, 0x0F00);
    KEYPAD::ResetScanner(record);
    KEYPAD::KeyHeld = 0;
    Page_t& page = record->target.pages.emplace_back();
    page.pageId = ACTION_PAGE_SLATE;
    page.keys = {{0, 0, 0, 0}};
    record->currentPage = &record->target.pages[0];
  }

  void Hold(std::initializer_list<int> keys) {
    std::uint32_t held = 0;
    for (const int key : keys) held |= 1U << (key - 1);
    board_.Get()->keysHeld[0] = held;
  }

  void Scan(int ticks) {
    for (int i = 0; i <= ticks; ++i) {
      KEYPAD::FindButton(KEYPAD::ScanMatrix(port_));
      KEYPAD::DebounceButtons(record);
      KEYPAD::DispatchChange(record);
      LowerCountdowns(record);
    }
  }

  const std::string& runtime_;
  platform::BoardMapping board_;
  TestRecord record;
  std::uintptr_t port_;
};

TEST_F(Scanner, ReadsEachKeyAndThePairAndNothingElse) {
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

TEST_F(Scanner, WantsTwoTicksForAPressAndSixForARelease) {
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

TEST_F(Scanner, GoesFromOneKeyToTheNextWithoutARelease) {
  ConsoleCapture console;
  Hold({3});
  Scan(3);
  Hold({4});
  Scan(8);
  Hold({});
  Scan(8);
  // The page binds no key, so that each dispatch leaves its note.
  EXPECT_EQ(console.Out(),
            "NOTE.  Platform key code 3 has no function on the Page.Slate page\n"
            "NOTE.  Platform key code 4 has no function on the Page.Slate page\n"
            "NOTE.  Platform key code 4 has no function on the Page.Slate page\n");
}

TEST_F(Scanner, LookUpReportsWhatItDoesNotFind) {
  ConsoleCapture console;
  Page_t stranger;
  stranger.pageId = ACTION_PAGE_VIDEO;
  record->currentPage = &stranger;
  MatrixDispatch(record, 1, KEY_PRESSED);
  record->currentPage = &record->target.pages[0];
  record->target.pages[0].keys.clear();
  MatrixDispatch(record, 1, KEY_PRESSED);
  record->target.pages.clear();
  MatrixDispatch(record, 1, KEY_PRESSED);
  record->currentPage = nullptr;
  EXPECT_EQ(console.Err(),
            "ERROR! I have no idea what the current page is 20\n"
            "ERROR! Page.Slate page has no keys assigned to it\n"
            "ERROR!  There are no pages\n");
}

TEST(PageTables, BuildTheSetOnceAndSetMasksWithinTheMap) {
  TestRecord record;
  InitPages(record);
  const Page_t* first = record->target.pages.data();
  EXPECT_EQ(CurrentPageId(record), ACTION_PAGE_SPLASH);
  InitPages(record);
  EXPECT_EQ(record->target.pages.data(), first);
  EXPECT_EQ(record->target.pages.size(), 6U);
  for (auto& mask : record->keyMasks) mask = KEY_BEEP_ONCE;
  const std::array<unsigned char, 30> masks = {0, 1, 0x33};
  SetValidKeys(record, masks.data(), 3);
  ConsoleCapture console;
  DumpValidKeys(record, 4);
  EXPECT_EQ(console.Out(),
            "Orvik: Dump Valid Keys\nKey None : NOT VALID\nBoom Mode : NO BEEP\nWinch : Unknown!\n"
            "Counterweight : BEEP ONCE\n");
  SetValidKeys(record, masks.data(), 30);
  EXPECT_EQ(record->keyMasks[23], 0U);
}

}  // namespace
