#include "src/startup/init_orvik_data.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <limits>
#include <mutex>
#include <sstream>
#include <string>

#include "src/core/console.h"
#include "src/core/operating_values.h"
#include "src/devio/backlight.h"
#include "src/devio/digital_io.h"
#include "src/display/handles.h"
#include "src/display/init_display.h"
#include "src/hostlink/immediate_replies.h"
#include "src/pages/key_report.h"
#include "src/pages/page_tables.h"
#include "src/services/dbshm.h"
#include "src/startup/shutdown.h"
#include "src/startup/startup.h"

namespace {

constexpr int FULL_BRIGHTNESS = 100;
constexpr int MESSAGE_TICKS = 300;
// The operating page shows these until the host sends real values.
constexpr double UNKNOWN_WEIGHT = 888888.8;
constexpr double UNKNOWN_VALUE = 888.8;
constexpr int UNKNOWN_PARTS = 88;
constexpr double UNKNOWN_PERCENT = 0.85;

// Held during an initialisation: the dispatcher serves requests while InitLCD runs in its caller's thread.
// Guards what only the initialisation writes: the name maps (a look-up adds unknown names), the versions and
// the lists of clients.
std::mutex initialisationMutex;

struct version_t {
  std::string text;
  double verRev = 0;
};

// A value that is not valid in the database counts as 0. A number that does not fit an int is shown as 0.
int ReadVersionNumber(orvikData_t* data, const std::string& name, double& value) {
  value = 0;
  DBSHM::Read(static_cast<unsigned>(data->variableHandles[name]), value);
  const bool sane = value >= 0 && value <= std::numeric_limits<int>::max();
  return sane ? static_cast<int>(value) : 0;
}

// `group` is "Loader", "Os" or "App".
version_t ReadVersion(orvikData_t* data, const std::string& group) {
  std::array<double, 4> values{};
  std::array<int, 4> numbers{};
  for (std::size_t i = 0; i < values.size(); ++i) {
    numbers[i] = ReadVersionNumber(data, "Version." + group + "." + std::to_string(i + 1), values[i]);
  }
  std::array<char, 64> text{};
  static_cast<void>(std::snprintf(text.data(), text.size(), "%1d.%1d.%1d.%1d", numbers[0], numbers[1],
                                  numbers[2], numbers[3]));
  return {text.data(), values[0] + values[1] / 10.0};
}

void PrintVersion(const char* label, const version_t& version) {
  std::ostringstream line;
  line << label << version.text << ".  VerRev: " << version.verRev;
  PrintOut(line.str());
}

void ReadVersions(orvikData_t* data) {
  const version_t loader = ReadVersion(data, "Loader");
  data->loaderVersion = loader.text;
  data->loaderVerRev = loader.verRev;
  PrintVersion("Orvik: Loader version ", loader);
  const version_t os = ReadVersion(data, "Os");
  data->osVersion = os.text;
  data->osVerRev = os.verRev;
  PrintVersion("Orvik: OS version ", os);
  const version_t app = ReadVersion(data, "App");
  data->appVersion = app.text;
  data->appVerRev = app.verRev;
  PrintVersion("Orvik: Application version ", app);
}

void ReadTermination(orvikData_t* data) {
  data->canTerminationHandle = static_cast<std::uint32_t>(data->variableHandles["PlugA.Resistor"]);
  double termination = 0;
  DBSHM::Read(data->canTerminationHandle, termination);
  std::ostringstream line;
  line << "Orvik: CAN termination " << termination;
  PrintOut(line.str());
}

void InstallSignalHandler() {
  struct sigaction action {};
  action.sa_handler = sigUSR1_handler;
  sigemptyset(&action.sa_mask);
  if (sigaction(SIGUSR1, &action, nullptr) != 0) PrintOut("\ncan't catch SIGUSR1");
}

void SetOperatingDefaults(orvikData_t* data) {
  SetLanguage(data, 0);
  SetLCDResolution(data, GRID_LINES, LINE_CELLS);
  SetUnits(data, 0);
  SetCapacity(data, UNKNOWN_WEIGHT);
  SetLoad(data, UNKNOWN_WEIGHT);
  SetExtension(data, UNKNOWN_VALUE);
  SetAngle(data, UNKNOWN_VALUE);
  SetRadius(data, UNKNOWN_VALUE);
  SetPartsOfLine(data, UNKNOWN_PARTS);
  SetPercentSafeWorkingLoad(data, UNKNOWN_PERCENT);
  SetSwing(data, 0.0);
  SetSwingMode(data, 0);
  SetRodPressure(data, UNKNOWN_VALUE);
  SetPistonPressure(data, UNKNOWN_VALUE);
  SetErectedIcon(data, 1);
  SetStowedIcon(data, 1);
}

void SetDeviceDefaults(orvikData_t* data) {
  data->keyReport1 = 0;
  data->keyReport2 = 0;
  for (PlainWord<std::uint32_t>& mask : data->keyMasks) mask = KEY_BEEP_ONCE;
  data->brightnessAdjustEnabled = 0;
  data->displayMode = 0;
  data->displayType = 0;
  SetBeeperDuration(data, 0);
  data->selectMode = 0;
  SetBrightness(data, FULL_BRIGHTNESS);
  ResetAllOutriggerColors(data);
  SetLEDState(data, 0xFFFFFFFF);
  SetCommandProtocolVersion(data, 1);
  SetDynamicEncryptionMethod(data, 1);
  data->lastPressedEvent = 0;
  data->keyStatus = 0;
}

void SetDrawingGeometry(orvikData_t* data) {
  drawing_geometry_t& drawing = data->drawing;
  drawing.swingPivotX = 399.0;
  drawing.swingPivotY = 108.0;
  drawing.swingOffsetX = 11.0;
  drawing.swingOffsetY = 0.0;
  drawing.boomPivotX = 127.0;
  drawing.boomPivotY = 128.0;
  drawing.boomOffsetX = 11.0;
  drawing.boomOffsetY = 0.0;
}

}  // namespace

void InitOrvikData(orvikData_t* data) {
  const std::lock_guard lock(initialisationMutex);
  PrintOut("Orvik: Initializing ...");
  PrintOut("Orvik: KD620 ...");
  InitGaugeHandles(data);
  InitVariableHandles(data);
  InstallSignalHandler();
  PostEvent(data, "orvik.DisableInDepth");
  ReadVersions(data);
  ReadTermination(data);
  SetOperatingDefaults(data);
  SetDeviceDefaults(data);
  DBSHM::Write(data->variables.hx7LinkState, 1.0);
  DBSHM::Write(data->variables.ecuTimeOutLamp, 0.0);
  data->hostTimedOut = 0;
  data->messageTicks = MESSAGE_TICKS;
  InitProgramDate(data);
  InitDisplay(data);
  InitPages(data);
  PrintOut("Orvik: Target " + data->target.name + " has " + std::to_string(data->target.pages.size()) +
           " pages");
  SetDrawingGeometry(data);
  PrintOut("Orvik: Initialization Complete");
}
