#include "src/hostlink/watchdog.h"

#include <chrono>
#include <string>
#include <thread>

#include "platform/threads.h"

#include "src/core/console.h"
#include "src/core/name_tables.h"
#include "src/services/dbshm.h"

namespace {

constexpr std::chrono::seconds PACE(1);

void LeaveSplashPage(orvikData_t* data) {
  if (data->hostSeen == 0 || data->running == 0 || CurrentPageId(data) != ACTION_PAGE_SPLASH) return;
  for (const char* event : SPLASH_EVENTS) PostEvent(data, event);
}

void PostTimeOutEvent(orvikData_t* data) {
  const Page_t* page = data->currentPage;
  if (data->running == 0 || page == nullptr || page->timeOutEvent == EVENT_ID_NONE) return;
  const int eventId = FindEventId(data, std::string(EventName(page->timeOutEvent)));
  if (eventId != 0) PostEventId(data, eventId);
}

void ReportLinked(orvikData_t* data) {
  LeaveSplashPage(data);
  data->hostTimedOut = 0;
  DBSHM::Write(data->variables.hx7LinkState, HX7_LINKED);
}

void ReportLost(orvikData_t* data) {
  data->watchdogSeconds = WATCHDOG_LIMIT_SECONDS;
  data->hostTimedOut = 1;
  DBSHM::Write(data->variables.hx7LinkState, HX7_LOST);
  data->hostSeen = 0;
  PostTimeOutEvent(data);
}

}  // namespace

void WatchdogTick(orvikData_t* data) {
  const int seconds = data->watchdogSeconds + 1;
  data->watchdogSeconds = seconds;
  if (seconds < WATCHDOG_LIMIT_SECONDS) {
    ReportLinked(data);
  } else {
    ReportLost(data);
  }
}

int Init_Watchdog(orvikData_t* data) {
  return platform::StartDetachedThread({"HX7watchdog"}, WatchdogThreadFn, data);
}

void* WatchdogThreadFn(void* record) {
  auto* data = static_cast<orvikData_t*>(record);
  data->watchdogReady = 1;
  PrintOut("Orvik: Watchdog initialization complete");
  WaitForStart(data, data->watchdogExit);
  while (data->watchdogExit == 0) {
    WatchdogTick(data);
    std::this_thread::sleep_for(PACE);
  }
  PrintOut("Orvik: Watchdog thread EXIT");
  data->watchdogReady = 0;
  return nullptr;
}
