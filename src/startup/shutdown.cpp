#include "src/startup/shutdown.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <string>
#include <thread>

#include "platform/console_writer.h"

#include "src/core/console.h"
#include "src/core/name_tables.h"
#include "src/core/worker.h"
#include "src/startup/startup.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr int ANNOUNCED_SECONDS = 5;
constexpr int STOP_PASSES = 4;  // one second each; the announced 5 seconds are part of the console interface
constexpr milliseconds SPLASH_POLL{100};

constexpr exit_page_t EXIT_PAGES[] = {
    {ACTION_PAGE_SLATE, "Orvik: On Slate page, requesting ", "orvik.SlateToSplash", PrintErr},
    {ACTION_PAGE_MAIN, "Orvik: On Main page, requesting ", "orvik.MainToSplash", PrintOut},
};

const exit_page_t* FindExitPage(int pageId) {
  const auto* found = std::find_if(std::begin(EXIT_PAGES), std::end(EXIT_PAGES),
                                   [pageId](const exit_page_t& page) { return page.pageId == pageId; });
  return found == std::end(EXIT_PAGES) ? nullptr : found;
}

// The wait has no time limit: the application must not end while a page with load values is shown.
void MoveToSplash(orvikData_t* data, const exit_page_t& page) {
  PrintOut(std::string(page.request) + page.event + " transition");
  data->splashShown = 0;
  PostEvent(data, page.event);
  while (data->splashShown == 0 && CurrentPageId(data) != ACTION_PAGE_SPLASH) {
    PrintOut("Orvik: waiting...");
    std::this_thread::sleep_for(SPLASH_POLL);
  }
  page.announce("Orvik: Now on SPLASH page ");
}

void HandleTerminationRequest(orvikData_t* data) {
  const int pageId = CurrentPageId(data);
  PrintOut("Orvik: SIGUSR1 signal received while on page " + std::string(ActionName(pageId)));
  if (const exit_page_t* page = FindExitPage(pageId); page != nullptr) {
    MoveToSplash(data, *page);
  } else {
    PrintErr("Orvik: NOT on terminatable page.  Ignoring request to terminate application");
    orvikStop = 0;
  }
}

// A thread that is blocked in a receive does not see its stop request.
void WakeReceivers(orvikData_t* data) {
  for (NM::NMClient* client : {data->canNmClient.load(), data->actionNmClient.load()}) {
    if (client != nullptr) client->wakeReceiver();
  }
}

}  // namespace

void sigUSR1_handler(int signo) {
  if (signo == SIGUSR1) {
    platform::PrintFromHandler("received SIGUSR1\n");
    orvikStop = 1;
  } else {
    platform::PrintFromHandler("unknown signal %ld received\n");
  }
}

std::span<const exit_page_t> ExitPages() {
  return EXIT_PAGES;
}

void WaitForTermination(orvikData_t* data) {
  sigset_t none;
  sigemptyset(&none);
  while (orvikStop == 0) {
    sigsuspend(&none);
    HandleTerminationRequest(data);
  }
}

bool StopWorkers(orvikData_t* data) {
  PostEvent(data, "orvik.ExitApplication");
  PrintOut("Orvik: Sending orvik.ExitApplication");
  for (PlainWord<int>& stop : data->threadStop) stop = 1;
  WakeReceivers(data);
  PrintOut("Orvik: Waiting maximum of " + std::to_string(ANNOUNCED_SECONDS) +
           " seconds for threads to stop...");
  for (int pass = 0; pass < STOP_PASSES; ++pass) {
    const bool left = AnyWorkerLeft(data);
    std::this_thread::sleep_for(seconds{1});
    if (!left) return true;
  }
  PrintOut("Orvik: Main timed out!");
  return false;
}
