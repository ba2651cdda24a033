// Two threads initialise one record again and again while others use it. ThreadSanitizer must see no data race; in
// every build the other threads must see whole handles and pages.
#include <array>
#include <atomic>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "src/core/operating_values.h"
#include "src/core/orvik_data.h"
#include "src/devio/digital_io.h"
#include "src/display/dispatcher.h"
#include "src/display/handles.h"
#include "src/pages/key_dispatch.h"
#include "src/pages/page_tables.h"
#include "src/services/dbshm.h"
#include "src/startup/init_orvik_data.h"
#include "tests/support/console_capture.h"
#include "tests/support/test_record.h"

namespace {

constexpr int ROUNDS = 15;  // of each initialising thread
constexpr int CAPACITY_HANDLE = 4711;

std::size_t CountLines(const std::string& text, const std::string& start) {
  std::size_t count = 0;
  for (std::size_t at = text.find(start); at != std::string::npos; at = text.find(start, at + 1)) {
    if (at == 0 || text[at - 1] == '\n') ++count;
  }
  return count;
}

void SetValues(orvikData_t* data) {
  SetCapacity(data, 12300.0);
  SetUnits(data, 1);
  SetLanguage(data, 3);
  SetOutriggerColors(data, 1, 2, 3, 4);
  SetBeeperDuration(data, 20);
}

// Every front key down and up, on a page with host keys and on the one whose key clears the layer.
void PressKeys(orvikData_t* data) {
  for (const int page : {ACTION_PAGE_WAD, ACTION_PAGE_DIALS}) {
    data->currentPage = FindPage(data, page);
    for (unsigned char key = KD620_KEY1; key <= KD620_KEY8; ++key) {
      MatrixDispatch(data, key, KEY_PRESSED);
      MatrixDispatch(data, key, KEY_RELEASED);
    }
  }
}

TEST(ReinitialisationTest, LeavesHandlesAndPagesWholeForTheThreadsThatUseThem) {
  TestRecord record;
  orvikData_t* data = record;
  data->initialize = InitOrvikData;
  data->screenObjectIds["orvikTextWidgetCapacity"] = CAPACITY_HANDLE;
  ConsoleCapture console;
  InitLCD(data);  // the first initialisation is main's, before the gate opens
  const Page_t* const pages = data->target.pages.data();

  std::atomic<int> initialising = 2;
  std::atomic<std::size_t> dumps = 0;
  {
    const auto start = [&](auto use) {
      return std::jthread([&initialising, use] {
        while (initialising > 0) use();
      });
    };
    const std::array users = {
        start([data] { UpdateDatabase(data); }),
        start([data] { SetValues(data); }),
        start([data] { PressKeys(data); }),
        start([data, &dumps] {
          DumpGaugeHandles(data);
          ++dumps;
        }),
    };
    std::jthread caller([&] {
      for (int i = 0; i < ROUNDS; ++i) InitLCD(data);
      --initialising;
    });
    std::jthread dispatcher([&] {
      for (int i = 0; i < ROUNDS; ++i) {
        data->lcdInitRequest = 1;
        ServeInitRequest(data);
      }
      --initialising;
    });
  }

  EXPECT_EQ(CountLines(console.Out(), "Orvik: Target Holten has 6 pages"), 2U * ROUNDS + 1U);
  EXPECT_EQ(CountLines(console.Out(), "CapacityWidget = " + std::to_string(CAPACITY_HANDLE) + "\n"),
            dumps.load());
  EXPECT_EQ(data->target.pages.data(), pages) << "other threads hold pointers to pages";
  for (const variable_name_t& variable : VARIABLE_NAMES) {
    EXPECT_EQ(data->variables.*variable.handle, DBSHM::getHandle(std::string(variable.name))) << variable.name;
  }
}

}  // namespace
