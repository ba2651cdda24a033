// Shutting the application down: the pages from which it may terminate, and the bounded wait for its threads.
#pragma once

#include <span>
#include <string_view>

#include "src/core/orvik_data.h"

// A page from which the application may terminate, and the event that leads from it to the splash page.
struct exit_page_t {
  int pageId;
  const char* request;  // printed before the event is posted
  const char* event;
  void (*announce)(std::string_view);  // prints that the splash page is shown
};
std::span<const exit_page_t> ExitPages();

// Waits for SIGUSR1 and moves to the splash page; returns when that page is shown. On any page but those of
// ExitPages the request is refused and the wait goes on. SIGUSR1 must be blocked. Main thread.
void WaitForTermination(orvikData_t* data);
// Posts the exit event, sets the stop request of every thread and waits four seconds at most. False when a
// thread still runs then. Main thread.
bool StopWorkers(orvikData_t* data);

// Handler of SIGUSR1: sets orvikStop and prints a line. Uses async-signal-safe calls only.
void sigUSR1_handler(int signo);
