// The first state of the record, and two threads that initialise one record again and again while others use
// it. ThreadSanitizer must see no data race; in every build the other threads must see whole handles and pages.
#include <array>
#include <atomic>
#include <string>
#include <thread>
#include <utility>
#include <vector>

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

template <class T>
using words_t = std::vector<std::pair<PlainWord<T>*, T>>;

template <class T>
void Spoil(const words_t<T>& words) {
  for (const auto& [word, value] : words) *word = static_cast<T>(value + 3);
}

template <class T>
void Check(const words_t<T>& words) {
  for (std::size_t i = 0; i < words.size(); ++i) EXPECT_EQ(words[i].first->Load(), words[i].second) << i;
}

TEST(ReinitialisationTest, GivesTheRecordItsFirstState) {
  TestRecord record;
  orvikData_t& d = *static_cast<orvikData_t*>(record);
  outrigger_colors_t& colors = d.outriggerColors;
  const drawing_geometry_t& drawing = d.drawing;
  const words_t<int> ints = {
      {&d.partsOfLine, 88},   {&d.swingMode, 0},  {&d.erectedIcon, 1},    {&d.stowedIcon, 1},
      {&d.keyReport1, 0},     {&d.keyReport2, 0}, {&d.displayMode, 0},    {&d.brightnessAdjustEnabled, 0},
      {&d.displayType, 0},    {&d.selectMode, 0}, {&d.brightness, 100},   {&d.beeperState, BEEPER_SILENT},
      {&colors.tires, 1},     {&colors.half, 1},  {&colors.retracted, 1}, {&colors.extended, 1},
      {&d.messageTicks, 300}, {&d.lcdRows, 4},    {&d.lcdColumns, 40},    {&d.hostTimedOut, 0}};
  words_t<double> doubles = {
      {&d.capacity, 888800}, {&d.load, 888900}, {&d.percentSafeWorkingLoad, 0.85}, {&d.swing, 0}};
  for (auto* word : {&d.extension, &d.angle, &d.radius, &d.rodPressure, &d.pistonPressure}) {
    doubles.emplace_back(word, 888.8);
  }
  words_t<std::uint8_t> bytes = {{&d.commandProtocolVersion, 1}, {&d.dynamicEncryptionMethod, 1}};
  for (auto* word : {&d.language, &d.units, &d.lastPressedEvent, &d.keyStatus}) bytes.emplace_back(word, 0);
  words_t<std::uint32_t> words = {{&d.ledState, 0xFFFFFFFF}};
  for (auto& mask : d.keyMasks) words.emplace_back(&mask, 127);
  for (int part = 1; part <= 4; ++part) {  // any four parameters for the version's
    d.variableHandles["Version.Os." + std::to_string(part)] = part;
    DBSHM::Write(static_cast<unsigned>(part), 4.0 + part);
  }
  Spoil(ints), Spoil(doubles), Spoil(bytes), Spoil(words);
  {
    const ConsoleCapture console;
    InitOrvikData(&d);
  }
  Check(ints), Check(doubles), Check(bytes), Check(words);
  const std::vector<double> geometry = {drawing.swingPivotX,  drawing.swingPivotY, drawing.swingOffsetX,
                                        drawing.swingOffsetY, drawing.boomPivotX,  drawing.boomPivotY,
                                        drawing.boomOffsetX,  drawing.boomOffsetY};
  EXPECT_EQ(geometry, (std::vector<double>{399, 108, 11, 0, 127, 128, 11, 0}));
  EXPECT_EQ(d.osVersion, "5.6.7.8");
  EXPECT_DOUBLE_EQ(d.osVerRev, 5.6);
  EXPECT_EQ(CurrentPageId(&d), ACTION_PAGE_SPLASH);
  EXPECT_EQ(ParameterValue("OrvikHX7TimeOutLamp"), 1);
  EXPECT_EQ(ParameterValue("OrvikCapacity"), 888800);
  EXPECT_EQ(ParameterValue("OrvikECUTimeOutLamp"), 0);
  EXPECT_NE(d.screenApi.load(), nullptr);
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
