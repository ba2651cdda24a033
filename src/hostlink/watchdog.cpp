#include "src/hostlink/watchdog.h"

#include <chrono>
#include <string>

#include "src/core/console.h"
#include "src/core/name_tables.h"
#include "src/core/worker.h"
#include "src/services/dbshm.h"

namespace {

constexpr worker_t WATCHDOG = {.slot = THREAD_WATCHDOG,
                               .name = "HX7watchdog",
                               .readyLine = "Orvik: Watchdog initialization complete",
                               .exitLine = "Orvik: Watchdog thread EXIT",
                               .pace = std::chrono::seconds{1}};

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
  return StartWorker(WATCHDOG, WatchdogThreadFn, data);
}

void* WatchdogThreadFn(void* record) {
  return RunWorker<FunctionTask<WatchdogTick>>(WATCHDOG, record);
}
