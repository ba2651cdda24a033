// The central record, through which the threads of the application share their state.
//
// main owns the only one, as a local object, and passes a pointer to every thread, setter, handler and page
// function. Each member says how it is shared: any thread reads and writes a PlainWord without a lock; the
// comment of a mutex names what the mutex guards; every other member belongs to one thread or is constant once
// `running` is set.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <pthread.h>

#include "src/core/frame_layout.h"
#include "src/core/key_queue.h"
#include "src/core/record_types.h"
#include "src/core/sharing.h"
#include "src/services/nm_client.h"

class ScreenApi;
namespace Compositing {
class Layer;
}

using name_map_t = std::map<std::string, int>;

// A thread's slot in threadStarted, threadRunning and threadStop.
enum thread_slot_t : std::size_t {
  THREAD_ACTION_CHANNEL = 0,
  THREAD_KEYPAD = 1,  // the start barrier ignores it
  THREAD_DISPATCH = 2,
  THREAD_DECAPSULATE = 3,
  THREAD_TIMER = 4,
  THREAD_CAN = 5,
  THREAD_WATCHDOG = 6,
  THREAD_DIO = 7,
  THREAD_PARSE = 8,
  THREAD_BLINKER = 9,
  THREAD_COUNT
};

// A handle of the screen service or of the database. Each initialisation writes it while other threads read it.
using handle_t = PlainWord<unsigned>;

// Handles of the text widgets. To add a widget: its member here, its name in display/handles.h and its row in
// the table of display/handles.cpp, which the compiler checks for completeness.
struct gauge_handles_t {
  using line_set_t = std::array<handle_t, GRID_LINES>;
  line_set_t operatingStd, operatingWide;
  line_set_t choice4TopStd, choice4MidStd, choice4BotStd;
  line_set_t choice4TopWide, choice4MidWide, choice4BotWide;
  line_set_t wadStd, wadWide;
  line_set_t slateStd, slateWide;
  handle_t flashMsgStd, flashMsgWide;
  handle_t capacity, load, extension, angle, radius, swing;
  handle_t unitsWeight, unitsDistance;
  handle_t mainErectedStd, mainErectedWide, mainStowedStd, mainStowedWide;
  handle_t configErectedStd, configErectedWide, configStowedStd, configStowedWide;
  handle_t wadCapacity, wadLoad, wadExtension, wadAngle, wadRadius, wadSwing;
  handle_t wadUnitsWeight, wadUnitsDistance;
};

// Handles of the database variables, in the order in which they are looked up. To add a variable: its member
// here and its row in VARIABLE_NAMES (display/handles.cpp), which the compiler checks for completeness.
struct variable_handles_t {
  handle_t tires, outriggerRetracted, outriggerHalf, outriggerExtended;
  handle_t pickMainBoom, pickAux, pickFly;
  handle_t jibShortFly0, jibLongFly0, jibShortFly15, jibLongFly15, jibShortFly30, jibLongFly30;
  handle_t frontWinch, rearWinch, counterweight, stowed, boomMode, auxHead;
  handle_t alarmSet, preAlarm, overload, a2b;
  handle_t percentSafeWorkingLoad, capacity, partsOfLine, load, extension, angle, radius, swing, swingMode;
  handle_t brightness, alarmLED, beepImage, language;
  handle_t angleAlarmSet, angleAlarmTripped, radiusAlarmSet, radiusAlarmTripped;
  handle_t extensionAlarmSet, extensionAlarmTripped, swingAlarmSet, swingAlarmTripped;
  handle_t erectedIcon, stowedIcon, rodPressure, pistonPressure;
  handle_t rtcSecond, rtcMinute, rtcHour, rtcDay, rtcMonth, rtcYear, rtcDayOfWeek, rtcIsAvailable;
  handle_t hx7LinkState;  // "OrvikHX7TimeOutLamp"
  handle_t lindarKeysEnabled, gaugesKeysEnabled, ecuTimeOutLamp, hornMode, manBasket;
  handle_t externalKeysEnabled, internalSystemKeyCode, externalSystemKeyCode;
  handle_t totalHX7Commands, plugAResistor;
};

// The two frames of the program date reply, filled by InitProgramDate.
struct program_date_t {
  std::array<std::uint8_t, FRAME_SIZE> frame1{};
  std::array<std::uint8_t, FRAME_SIZE> frame2{};
};

// The four colours of tires and outriggers: 0 dark, 1 green, 2 yellow, 3 red, 4 blue, 5 white.
struct outrigger_colors_t {
  PlainWord<int> tires, retracted, half, extended;
};

// Pivots of the boom and swing pictures on the dials page, and the offsets of the pictures from their pivots,
// in pixels.
struct drawing_geometry_t {
  PlainWord<double> swingPivotX, swingPivotY, swingOffsetX, swingOffsetY;
  PlainWord<double> boomPivotX, boomPivotY, boomOffsetX, boomOffsetY;
};

struct orvikData_t {
  orvikData_t();
  ~orvikData_t();
  orvikData_t(const orvikData_t&) = delete;
  orvikData_t& operator=(const orvikData_t&) = delete;

  // --- Thread control. main writes `running` and the stop requests; each worker writes its own running flag.
  // main sets threadStarted before it starts the thread, and the worker clears it at its end: a worker that
  // still sets itself up uses the record and has no running flag yet.
  PlainWord<int> running;
  std::array<PlainWord<int>, THREAD_COUNT> threadStarted;
  std::array<PlainWord<int>, THREAD_COUNT> threadRunning;
  std::array<PlainWord<int>, THREAD_COUNT> threadStop;
  PlainWord<int>&canReady, &canExit, &decapReady, &decapExit, &parseReady, &parseExit;
  PlainWord<int>&watchdogReady, &watchdogExit, &dioReady, &dioExit, &blinkerReady, &blinkerExit;
  PlainWord<int>&timerReady, &timerExit, &dispatchReady, &dispatchExit;
  PlainWord<int>&actionReady, &actionExit, &keypadReady, &keypadExit;

  // --- Names from the generic configuration; constant once `running` is set.
  std::string actionChannelName;
  std::string eventChannelName;
  name_map_t actionIds;
  name_map_t eventIds;
  name_map_t variableHandles;
  name_map_t screenObjectIds;

  // --- Service clients. Every thread posts events through nmClient. The receive thread owns canNmClient, the
  // spare clients and the two channel numbers; the action channel owns actionNmClient; main only wakes their
  // receivers.
  NM::NMClient* nmClient = nullptr;
  PlainWord<int> eventChannel;
  std::atomic<NM::NMClient*> canNmClient{nullptr};
  std::array<NM::NMClient*, 2> spareNmClients{};
  std::atomic<NM::NMClient*> actionNmClient{nullptr};
  int j1939ApiChannel = -1;
  int rxChannel = -1;

  // --- Configuration identity.
  std::string ctVersion, createdBy, configVersion, xmlDate;
  int appId = 0;
  std::string appName;

  // --- Locks.
  pthread_mutex_t canMutex = PTHREAD_MUTEX_INITIALIZER;    // canPackets, canSpare
  pthread_mutex_t decapMutex = PTHREAD_MUTEX_INITIALIZER;  // decapData, decapSpare
  // utf8Display, the 31 fields, the flash line and the system's own text
  pthread_mutex_t displayMutex = PTHREAD_MUTEX_INITIALIZER;
  pthread_mutex_t beeperMutex = PTHREAD_MUTEX_INITIALIZER;  // beeperState and beeperDuration together
  // the layer's contents and the values last drawn on it
  pthread_mutex_t dialsMutex = PTHREAD_MUTEX_INITIALIZER;

  // --- Queues between the threads. A work array belongs to the thread that consumes the queue.
  // A spare is the storage that the queue gets for its next element; the queue's mutex guards it.
  std::vector<CAN_packet_t2> canPackets, canSpare;
  std::vector<CAN_packet_t2> canWork;
  std::vector<DecapData_t> decapData, decapSpare;
  std::vector<DecapData_t> decapWork;
  KeyQueue keyData;
  PlainWord<std::int16_t> lastKey;
  PlainWord<std::int16_t>& lastKeyAdded = lastKey;  // the name that the key-state reply uses
  PlainWord<std::uint32_t> canPacketsDropped;       // frames dropped because canPackets was full
  PlainWord<std::uint32_t> decapDataDropped;        // messages dropped because decapData was full

  // --- Versions.
  std::string loaderVersion, osVersion, appVersion;
  double loaderVerRev = 0, appVerRev = 0;
  PlainWord<double> osVerRev;
  std::uint32_t canTerminationHandle = 0;

  // --- Pages. The first initialisation builds the page set, which is then constant; the action channel sets
  // currentPage.
  Target_t target;
  PlainWord<const Page_t*> currentPage{nullptr};
  std::array<PlainWord<std::uint32_t>, HOST_KEYS> keyMasks;  // the mask words of the host key map
  PlainWord<std::uint8_t> lastPressedEvent;
  PlainWord<const char*> lastPressedEventName{""};  // an entry of EVENT_ID_NAMES
  PlainWord<int> selectMode;
  // Set by the action channel when the splash page is shown; main clears it before it waits for that page.
  PlainWord<int> splashShown;

  // --- Host presence.
  PlainWord<int> hostSeen;
  PlainWord<int> watchdogSeconds;
  PlainWord<int> hostTimedOut;

  // --- Key report to the host.
  PlainWord<int> keyReport1;
  PlainWord<int> keyReport2;
  PlainWord<std::uint8_t> keyStatus;

  // --- Heartbeat events.
  PlainWord<int> decapHeartbeatEvent, parseHeartbeatEvent, dispatchHeartbeatEvent;

  // --- Operating values, in the units that the host sends.
  PlainWord<double> capacity, load, radius, angle, extension, swing;
  PlainWord<double> rodPressure, pistonPressure, percentSafeWorkingLoad;
  PlainWord<int> partsOfLine, swingMode, stowedIcon, erectedIcon;
  outrigger_colors_t outriggerColors;

  // --- Display and device settings.
  PlainWord<int> lcdRows, lcdColumns, lcdSize;
  PlainWord<int>& lcdCells = lcdSize;  // the name that the length limits of the text commands use
  PlainWord<std::uint32_t> spaceChar, blankChar, underscoreChar, validNonPrintableChar, invalidNonPrintableChar;
  PlainWord<int> expandFullWidth;
  std::array<UTF8Line_t, GRID_LINES> utf8Display;
  std::vector<unsigned> flashLine;  // the configuration page's message, centred
  PlainWord<std::uint8_t> language, units;
  PlainWord<int> brightness;
  PlainWord<int> brightnessAdjustEnabled, displayMode, displayType;
  PlainWord<std::uint32_t> ledState;
  PlainWord<std::uint8_t> commandProtocolVersion, dynamicEncryptionMethod;
  PlainWord<int> lcdInitRequest;
  // InitOrvikData, which the dispatcher calls for a request to initialise the record again. A pointer, because
  // the dispatcher's folder does not include start-up. Set by main before it starts the workers.
  void (*initialize)(orvikData_t*) = nullptr;
  program_date_t programDate;

  // --- Beeper.
  PlainWord<int> beeperState;  // the DigitalIO thread reads it without the lock
  int beeperDuration = 0;      // units of 10 ms

  // --- Countdown words in units of 10 ms: the debounce counters of the keypad scanner. The timer thread lowers
  // them.
  std::array<PlainWord<std::int32_t>, 9> countdown;
  PlainWord<std::int32_t>&countdown1 = countdown[0], &countdown2 = countdown[1], &countdown3 = countdown[2];
  PlainWord<std::int32_t>&countdown4 = countdown[3], &countdown5 = countdown[4], &countdown6 = countdown[5];
  PlainWord<std::int32_t>&countdown7 = countdown[6], &countdown8 = countdown[7], &countdown9 = countdown[8];

  // --- Presentation. Each initialisation creates a new layer and screen client. The earlier ones stay until
  // the record is destroyed, since another thread may still be using one.
  gauge_handles_t gauges{};
  variable_handles_t variables{};
  std::vector<unsigned> textWidgets;  // handles of all text widgets; filled by the first initialisation
  std::atomic<ScreenApi*> screenApi{nullptr};
  std::atomic<Compositing::Layer*> layer{nullptr};
  std::vector<std::unique_ptr<ScreenApi>> screenApis;
  std::vector<std::unique_ptr<Compositing::Layer>> layers;
  drawing_geometry_t drawing;
  PlainWord<int> messageTicks;  // 300 after initialisation
};

// Non-zero asks the application to terminate. The handler of SIGUSR1 sets it; main clears it when it refuses.
extern PlainWord<int> orvikStop;

// The number of an event in the configuration; 0 when the configuration does not define the name.
int FindEventId(const orvikData_t* data, const std::string& name);
// Publish an event's number (4 bytes, little-endian) on the event channel. Any thread; blocks for one round
// trip to the notification manager. Nothing is sent before main has created nmClient.
void PostEvent(orvikData_t* data, const std::string& name);
void PostEventId(orvikData_t* data, int eventId);

// The action id of the current page; ACTION_PAGE_NONE when there is no current page yet.
int CurrentPageId(const orvikData_t* data);
