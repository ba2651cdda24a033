#include "src/pages/key_commands.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <sstream>
#include <string>
#include <thread>

#include <unistd.h>

#include "src/core/command_counters.h"
#include "src/core/console.h"
#include "src/core/name_tables.h"
#include "src/core/operating_values.h"
#include "src/devio/backlight.h"
#include "src/devio/blinkers.h"
#include "src/dials/dials.h"
#include "src/hostlink/can_transport.h"
#include "src/pages/key_report.h"
#include "src/pages/page_tables.h"
#include "src/screenapi/screen_api.h"
#include "src/services/dbshm.h"

namespace {

using key_command_t = void (*)(orvikData_t*);
using std::chrono::milliseconds;

constexpr int BRIGHTNESS_STEP = 5;
constexpr int BRIGHTEST = 100;
constexpr int DARKEST = 5;
constexpr milliseconds FRAME_PAUSE{50};

void Nothing(orvikData_t* /*data*/) {}

// --- Settings

void IncreaseBrightness(orvikData_t* data) {
  if (data->brightness < BRIGHTEST)
    SetBrightness(data, std::min(data->brightness + BRIGHTNESS_STEP, BRIGHTEST));
}

// Sets the level even when it does not change, unlike IncreaseBrightness: at 5 % the key still writes the
// device.
void DecreaseBrightness(orvikData_t* data) {
  const int level = data->brightness;
  SetBrightness(data, level > DARKEST ? std::max(level - BRIGHTNESS_STEP, DARKEST) : level);
}

void ToggleLanguage(orvikData_t* data) {
  SetLanguage(data, (data->language + 1) % static_cast<int>(LANGUAGE_COUNT));
}
void ToggleUnits(orvikData_t* data) {
  SetUnits(data, (data->units + 1) & 1);
}
void ExternalKeysOff(orvikData_t* data) {
  DBSHM::Write(data->variables.externalKeysEnabled, 0.0);
}

// --- CAN termination

bool ReadResistor(orvikData_t* data, double& value) {
  if (DBSHM::Read(data->variables.plugAResistor, value) == 1) return true;
  PrintErr("Orvik: ERROR!  Unable to read PlugA.Resistor from database");
  return false;
}

void ToggleCanTermination(orvikData_t* data) {
  double before = 0;
  if (!ReadResistor(data, before)) return;
  const bool set = before == 0.0;
  const double written = set ? 1.0 : 0.0;
  PostEvent(data, set ? "orvik.SetResistorA" : "orvik.ClearResistorA");
  DBSHM::Write(data->variables.plugAResistor, written);
  double after = 0;
  if (!ReadResistor(data, after)) return;
  std::ostringstream line;
  line << "Orvik: CAN termination Read: " << before << ", Wrote: " << written << ", Read: " << after;
  PrintOut(line.str());
}

// --- Pages that the unit must enable

void LeaveMainByLindarKey(orvikData_t* data, const char* event) {
  double enabled = 0;
  DBSHM::Read(data->variables.lindarKeysEnabled, enabled);
  if (enabled == 0.0) return;
  PostEvent(data, event);
  ExternalKeysOff(data);
}

// --- Frames

struct test_frame_t {
  std::uint32_t identifier;
  std::array<std::uint8_t, FRAME_SIZE> bytes;
};

constexpr test_frame_t BUS_TEST_FRAMES[] = {
    {0x12345678, {0x03, 0x05, 0x19, 0x77, 0x11, 0x04, 0x19, 0x81}},
    {0x08765432, {0x12, 0x17, 0x20, 0x05, 0x01, 0x03, 0x20, 0x08}},
    {0x15555555, {0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0xDE, 0xF0}},
    {0x0AAAAAAA, {0x0F, 0xED, 0xCB, 0xA9, 0x87, 0x65, 0x43, 0x21}},
    {0x1A5A5A5A, {0x55, 0xAA, 0x33, 0xCC, 0x55, 0xAA, 0x33, 0xCC}},
};
constexpr test_frame_t CLOCK_REQUEST = {0x00EF0020, {0x00, 0x00, 0x02, 0x00, 0x00, 0x00, 0x00, 0x00}};
constexpr test_frame_t CLOCK_SET = {0x00EF0011, {0x07, 0xDD, 0x02, 0x08, 0x02, 0x0A, 0x00, 0x00}};

void Transmit(orvikData_t* data, const test_frame_t& frame) {
  TransmitCAN(data, frame.identifier, CAN_PORT, frame.bytes.data());
}

void TestBus(orvikData_t* data) {
  for (const test_frame_t& frame : BUS_TEST_FRAMES) {
    if (&frame != &BUS_TEST_FRAMES[0]) std::this_thread::sleep_for(FRAME_PAUSE);
    Transmit(data, frame);
  }
}

void RequestClock(orvikData_t* data) {
  Transmit(data, CLOCK_REQUEST);
  std::this_thread::sleep_for(FRAME_PAUSE);
}

// --- Screen tests

std::atomic<int> refreshTestFlipFlop{0};

void TestRefresh(orvikData_t* data) {
  ScreenApi* screen = data->screenApi;
  if (screen == nullptr) return;
  const char* text = refreshTestFlipFlop.fetch_xor(1) == 0 ? "THE QUICK BROWN FOX JUMPS OVER THE LAZY "
                                                           : "1234567890123456789012345678901234567890";
  for (const unsigned handle : data->textWidgets) screen->setTextGauge(static_cast<int>(handle), text, 0);
  screen->processCommands();
}

constexpr int MOVE_STEPS = 440;
constexpr int MOVE_Y = 76;

void TestMove(orvikData_t* data) {
  PrintOut("Orvik: Move Text Widget Test");
  ScreenApi* screen = data->screenApi;
  if (screen == nullptr) return;
  const auto handle = static_cast<int>(data->gauges.operatingStd[0]);
  for (int x = 0; x < MOVE_STEPS && data->dispatchExit == 0; ++x) {
    screen->move(handle, x, MOVE_Y);
    screen->processCommands();
    std::this_thread::sleep_for(milliseconds{10});
  }
}

// On variables that no other part of the application writes while it runs.
void TestBlinkers(orvikData_t* data) {
  PrintOut("calling StartBlinker");
  const std::pair<int, unsigned> blinkerHandles[] = {
      {1, data->variables.ecuTimeOutLamp},
      {3, data->variables.hornMode},
      {5, data->variables.gaugesKeysEnabled},
      {7, data->variables.internalSystemKeyCode},
  };
  for (const auto& [index, handle] : blinkerHandles) StartBlinker(data, index, 0, 1, 4, handle);
}

// --- Pivots and offsets of the pictures on the dials page

enum class dials_picture_t { SWING, BOOM };

std::string PointText(const char* name, double x, double y) {
  std::ostringstream text;
  text << name << "( " << x << " , " << y << " ) ";
  return text.str();
}

std::string PivotText(const drawing_geometry_t& d, dials_picture_t picture) {
  return picture == dials_picture_t::SWING ? PointText("Pivot", d.swingPivotX, d.swingPivotY)
                                           : PointText("Pivot", d.boomPivotX, d.boomPivotY);
}

std::string OffsetText(const drawing_geometry_t& d, dials_picture_t picture) {
  return picture == dials_picture_t::SWING ? PointText("Offset", d.swingOffsetX, d.swingOffsetY)
                                           : PointText("Offset", d.boomOffsetX, d.boomOffsetY);
}

template <PlainWord<double> drawing_geometry_t::*Member, int Step, dials_picture_t Which>
void Adjust(orvikData_t* data) {
  PlainWord<double>& value = data->drawing.*Member;
  value = value + Step;
  RefreshPageDials(data);
  PrintOut(PivotText(data->drawing, Which));
  PrintOut("  " + OffsetText(data->drawing, Which));
}

void ShowDials(orvikData_t* data) {
  RefreshPageDials(data);
  PrintOut("Swing: " + PivotText(data->drawing, dials_picture_t::SWING));
  PrintOut("       " + OffsetText(data->drawing, dials_picture_t::SWING));
  PrintOut("Boom:  " + PivotText(data->drawing, dials_picture_t::BOOM));
  PrintOut("       " + OffsetText(data->drawing, dials_picture_t::BOOM));
}

// --- The process

void Exit(orvikData_t* /*data*/) {
  PrintOut("Orvik: raising SIGUSR1");
  kill(getpid(), SIGUSR1);  // raise() would signal the calling thread, which blocks the signal
}

void SwapTransducers(orvikData_t* /*data*/) {
  PrintOut("Orvik: Swap transducers");
  SwapCANTransducers();
}

using G = drawing_geometry_t;

// The index is the command. Null: the command has no action in this build and is reported as undefined.
constexpr std::array<key_command_t, CMD_NAME_COUNT> COMMANDS = {
    Nothing,                                                                      // 0
    IncreaseBrightness,                                                           // 1
    DecreaseBrightness,                                                           // 2
    ToggleLanguage,                                                               // 3
    ToggleUnits,                                                                  // 4
    [](orvikData_t*) { DumpCommandCounterAll(); },                                // 5
    Nothing,                                                                      // 6 cycle tests
    Nothing,                                                                      // 7 miscellaneous
    Nothing,                                                                      // 8 increase resolution
    Nothing,                                                                      // 9 decrease resolution
    ToggleCanTermination,                                                         // 10
    [](orvikData_t*) { PrintOut("Orvik: Datalogger Start"); },                    // 11
    [](orvikData_t*) { PrintOut("Orvik: Datalogger Stop"); },                     // 12
    [](orvikData_t*) { PrintOut("Orvik: Datalogger Output"); },                   // 13
    [](orvikData_t*) { PrintOut("Orvik: Datalogger Clear"); },                    // 14
    [](orvikData_t* data) { DumpValidKeys(data, HOST_KEYS); },                    // 15
    Exit,                                                                         // 16
    SwapTransducers,                                                              // 17
    nullptr,                                                                      // 18 update clock
    ExternalKeysOff,                                                              // 19
    TestRefresh,                                                                  // 20
    [](orvikData_t* data) { LeaveMainByLindarKey(data, "orvik.MainToEngine"); },  // 21
    [](orvikData_t* data) { LeaveMainByLindarKey(data, "orvik.MainToVideo"); },   // 22
    nullptr,                                                                      // 23 passcode
    [](orvikData_t* data) { PostEvent(data, "orvik.MainToGauges"); },             // 24
    nullptr,                                                                      // 25 passcode
    TestBus,                                                                      // 26
    RequestClock,                                                                 // 27
    [](orvikData_t* data) { Transmit(data, CLOCK_SET); },                         // 28
    nullptr,                                                                      // 29 passcode
    TestMove,                                                                     // 30
    Nothing,                                                                      // 31 enable in-depth
    Nothing,                                                                      // 32 disable in-depth
    Nothing,                                                                      // 33 operating to tilt
    Nothing,                                                                      // 34 disable inclinometer
    Nothing,                                                                      // 35 enable hydraulics
    Nothing,                                                                      // 36 disable hydraulics
    TestBlinkers,                                                                 // 37
    Adjust<&G::swingPivotX, 1, dials_picture_t::SWING>,                           // 38
    Adjust<&G::swingPivotX, -1, dials_picture_t::SWING>,                          // 39
    Adjust<&G::swingPivotY, 1, dials_picture_t::SWING>,                           // 40
    Adjust<&G::swingPivotY, -1, dials_picture_t::SWING>,                          // 41
    Adjust<&G::swingOffsetX, 1, dials_picture_t::SWING>,                          // 42
    Adjust<&G::swingOffsetX, -1, dials_picture_t::SWING>,                         // 43
    Adjust<&G::boomPivotX, 1, dials_picture_t::BOOM>,                             // 44
    Adjust<&G::boomPivotX, -1, dials_picture_t::BOOM>,                            // 45
    Adjust<&G::boomPivotY, 1, dials_picture_t::BOOM>,                             // 46
    Adjust<&G::boomPivotY, -1, dials_picture_t::BOOM>,                            // 47
    Adjust<&G::boomOffsetX, 1, dials_picture_t::BOOM>,                            // 48
    Adjust<&G::boomOffsetX, -1, dials_picture_t::BOOM>,                           // 49
    ShowDials,                                                                    // 50
};

}  // namespace

void RunKeyCommand(orvikData_t* data, unsigned command) {
  const key_command_t run = command < COMMANDS.size() ? COMMANDS[command] : nullptr;
  if (run == nullptr) {
    PrintErr("ERROR!  Undefined command");
    return;
  }
  run(data);
}
