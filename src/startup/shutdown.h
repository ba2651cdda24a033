// Bringing the application down: the pages that it may leave, and the bounded wait for its threads.
#pragma once

#include <span>
#include <string_view>

#include "src/core/orvik_data.h"

// A page from which the application may end, and how it gets to the splash page from there.
struct exit_page_t {
  int pageId;
  const char* request;
  const char* event;
  void (*announce)(std::string_view);
};
std::span<const exit_page_t> ExitPages();

// Waits for SIGUSR1 and moves to the splash page; returns once the application may end. SIGUSR1 must be
// blocked.
void WaitForTermination(orvikData_t* data);
// Posts the exit event, asks every thread to stop and waits a bounded time. False when a thread still runs.
bool StopWorkers(orvikData_t* data);

// Handler of SIGUSR1; writes orvikStop and uses async-signal-safe calls only.
void sigUSR1_handler(int signo);
