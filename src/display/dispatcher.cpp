#include "src/display/dispatcher.h"

#include <chrono>
#include <string>

#include "src/core/console.h"
#include "src/core/name_tables.h"
#include "src/core/operating_values.h"
#include "src/core/worker.h"
#include "src/dials/dials.h"
#include "src/display/operating_page.h"
#include "src/display/system_message.h"
#include "src/screenapi/screen_api.h"
#include "src/services/dbshm.h"

namespace {

using V = variable_handles_t;
using C = outrigger_colors_t;

// A lamp variable and its bit of the lamp word. When the bit is set the variable gets the colour, or 1 where
// there is no colour.
struct lamp_t {
  handle_t V::*handle;
  std::uint32_t bit;
  PlainWord<int> C::*color;
};

// In the order of writing. The host protocol is irregular here: "Long" has the lower bit of each jib pair, bit
// 0x8000 drives two variables, and the man basket comes last.
constexpr lamp_t LAMPS[] = {
    {&V::tires, 0x00010000, &C::tires},
    {&V::outriggerRetracted, 0x00020000, &C::retracted},
    {&V::outriggerHalf, 0x00040000, &C::half},
    {&V::outriggerExtended, 0x00080000, &C::extended},
    {&V::pickMainBoom, 0x00100000, nullptr},
    {&V::pickAux, 0x00200000, nullptr},
    {&V::pickFly, 0x00400000, nullptr},
    {&V::jibLongFly0, 0x00000008, nullptr},
    {&V::jibShortFly0, 0x00000010, nullptr},
    {&V::jibLongFly15, 0x00000020, nullptr},
    {&V::jibShortFly15, 0x00000040, nullptr},
    {&V::jibLongFly30, 0x00000080, nullptr},
    {&V::jibShortFly30, 0x00000100, nullptr},
    {&V::frontWinch, 0x00000400, nullptr},
    {&V::rearWinch, 0x00000200, nullptr},
    {&V::counterweight, 0x00000800, nullptr},
    {&V::stowed, 0x00001000, nullptr},
    {&V::boomMode, 0x00002000, nullptr},
    {&V::auxHead, 0x00004000, nullptr},
    {&V::alarmSet, 0x00008000, nullptr},
    {&V::preAlarm, 0x00000001, nullptr},
    {&V::overload, 0x00000002, nullptr},
    {&V::a2b, 0x00000004, nullptr},
    {&V::alarmLED, 0x00008000, nullptr},
    {&V::angleAlarmSet, 0x01000000, nullptr},
    {&V::angleAlarmTripped, 0x02000000, nullptr},
    {&V::radiusAlarmSet, 0x04000000, nullptr},
    {&V::radiusAlarmTripped, 0x08000000, nullptr},
    {&V::extensionAlarmSet, 0x10000000, nullptr},
    {&V::extensionAlarmTripped, 0x20000000, nullptr},
    {&V::swingAlarmSet, 0x40000000, nullptr},
    {&V::swingAlarmTripped, 0x80000000, nullptr},
    {&V::manBasket, 0x00800000, nullptr},
};

struct page_update_t {
  int actionId;
  void (*update)(orvikData_t*);
};

// Actions 7 ("Page.Choice.PopUp") and 17 ("Page.RTC") are not in this table: they are never the current page,
// and the report of an unknown page shows when one is.
constexpr page_update_t PAGE_UPDATES[] = {
    {ACTION_PAGE_MAIN, UpdatePageOperating},
    {ACTION_PAGE_BRIGHTNESS_POPUP, UpdatePageOperating},
    {ACTION_PAGE_SLATE, UpdatePageOperating},
    {ACTION_PAGE_WAD, UpdatePageOperating},
    {ACTION_PAGE_CONFIG, UpdatePageConfig},
    {ACTION_PAGE_POL_POPUP, UpdatePagePOLPopUp},
    {ACTION_PAGE_DM1_POPUP, UpdatePageDM1},
    {ACTION_PAGE_CHOICE4TOP_POPUP, UpdatePageChoice4TopPopUp},
    {ACTION_PAGE_CHOICE4BOT_POPUP, UpdatePageChoice4BotPopUp},
    {ACTION_PAGE_DIALS, UpdatePageDials},
    {ACTION_PAGE_DASH, UpdatePageDash},
    {ACTION_PAGE_CHOICE4MID_POPUP, UpdatePageChoice4MidPopUp},
    {ACTION_PAGE_SPLASH, UpdatePageSplash},
    {ACTION_PAGE_ENGINE, UpdatePageEngine},
    {ACTION_PAGE_VIDEO, UpdatePageVideo},
    {ACTION_PAGE_GAUGES, UpdatePageGauges},
    {ACTION_PAGE_OSTREM, UpdatePageOstrem},
    {ACTION_PAGE_VARIANTS, UpdatePageVariants},
    {ACTION_PAGE_BLANK, UpdatePageBlank},
    {ACTION_PAGE_MVEC, UpdatePageMVEC},
};

void UpdateCurrentPage(orvikData_t* data) {
  const int pageId = CurrentPageId(data);
  if (pageId == ACTION_PAGE_NONE) {
    PrintErr("ERROR!  Request to update NONE page");
    return;
  }
  if (pageId != ACTION_PAGE_DIALS) LeaveDials(data);
  for (const page_update_t& page : PAGE_UPDATES) {
    if (page.actionId != pageId) continue;
    page.update(data);
    return;
  }
  PrintErr("ERROR!  Request to update unknown page actionID " + std::to_string(pageId));
}

void RunCycle(orvikData_t* data) {
  UpdateDatabase(data);
  UpdateDisplay(data);
  ServeInitRequest(data);
}

void InitializeAgain(orvikData_t* data) {
  PrintOut("InitLCD()");
  data->lcdInitRequest = 0;
  if (data->initialize != nullptr) data->initialize(data);
}

constexpr worker_t DISPATCHER = {.slot = THREAD_DISPATCH,
                                 .name = "Dispatch",
                                 .readyLine = "Orvik: Dispatcher initialization complete",
                                 .exitLine = "Orvik: Dispatcher thread EXIT",
                                 .pace = std::chrono::microseconds{10'000},
                                 .heartbeatEvent = "orvik.DispatchHeartbeatEvent",
                                 .heartbeat = &orvikData_t::dispatchHeartbeatEvent};

class DispatchTask : public FunctionTask<RunCycle> {
 public:
  explicit DispatchTask(orvikData_t* data) : FunctionTask(data) { DBSHM::Open(); }
};

}  // namespace

int Init_Dispatch(orvikData_t* data) {
  return StartWorker(DISPATCHER, dispatchThreadFn, data);
}

void* dispatchThreadFn(void* record) {
  return RunWorker<DispatchTask>(DISPATCHER, record);
}

void UpdateDatabase(orvikData_t* data) {
  for (const lamp_t& lamp : LAMPS) {
    const int value = lamp.color == nullptr ? 1 : (data->outriggerColors.*lamp.color).Load();
    DBSHM::Write(data->variables.*lamp.handle, GetLEDState(data, static_cast<int>(lamp.bit), value));
  }
}

void UpdateDisplay(orvikData_t* data) {
  UpdateSystemMessage(data);
  UpdateCurrentPage(data);
  if (ScreenApi* screen = data->screenApi; screen != nullptr) screen->processCommands();
}

void UpdateLCDDisplay(orvikData_t* data) {
  UpdateDisplay(data);
}

void ServeInitRequest(orvikData_t* data) {
  if (data->lcdInitRequest != 0) InitializeAgain(data);
}

void InitLCD(orvikData_t* data) {
  InitializeAgain(data);
}

void UpdateLCDUnits(orvikData_t* /*data*/) {
  PrintErr("UpdateLCDUnits - Unexpected HX7 Command");
}

void UpdatePageDash(orvikData_t* /*data*/) {}
void UpdatePageVariants(orvikData_t* /*data*/) {}
void UpdatePageSplash(orvikData_t* /*data*/) {}
void UpdatePageBlank(orvikData_t* /*data*/) {}
void UpdatePageEngine(orvikData_t* /*data*/) {}
void UpdatePageVideo(orvikData_t* /*data*/) {}
void UpdatePageGauges(orvikData_t* /*data*/) {}
void UpdatePageMVEC(orvikData_t* /*data*/) {}
void UpdatePageGraphic1(orvikData_t* /*data*/) {}
void UpdatePageGraphic2(orvikData_t* /*data*/) {}
void UpdatePageOstrem(orvikData_t* /*data*/) {}
void UpdatePageSlate(orvikData_t* /*data*/) {}
void UpdatePageWad(orvikData_t* /*data*/) {}
void UpdatePageBrightnessPopUp(orvikData_t* /*data*/) {}
void UpdatePageChoice4MidPopUp(orvikData_t* /*data*/) {}
void DisplayPOL(orvikData_t* /*data*/) {}
void UpdatePagePOLPopUp(orvikData_t* /*data*/) {}
void UpdatePageDM1(orvikData_t* /*data*/) {}
void UpdatePageChoice4TopPopUp(orvikData_t* /*data*/) {}
void UpdatePageChoice4BotPopUp(orvikData_t* /*data*/) {}
