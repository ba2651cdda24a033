// The watchdog of the host link: reports a silent host in the database and by page events.
#pragma once

#include "src/core/orvik_data.h"

// Values of the database variable hx7LinkState.
constexpr double HX7_LINKED = 1.0;
constexpr double HX7_LOST = 2.0;
// The link counts as lost from this tick without host traffic on. watchdogSeconds stops counting here.
constexpr int WATCHDOG_LIMIT_SECONDS = 11;
// The events posted on the splash page while the host is heard, in this order.
constexpr const char* SPLASH_EVENTS[] = {"orvik.SplashToSlate", "orvik.SplashToGauges"};

// Starts the thread, "HX7watchdog". Returns 0, or the error number of the failed start.
int Init_Watchdog(orvikData_t* data);
// The thread's body; `record` is the orvikData_t. It calls WatchdogTick once a second.
void* WatchdogThreadFn(void* record);
// Counts one second without host traffic, writes the link state to the database and posts page events:
// SPLASH_EVENTS while the host is heard and the splash page is shown, the time-out event of the current page
// while the link is lost.
void WatchdogTick(orvikData_t* data);
