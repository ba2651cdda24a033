// The watchdog of the host link: says in the database and by page events when the host has fallen silent.
#pragma once

#include "src/core/orvik_data.h"

// Values of the database variable hx7LinkState.
constexpr double HX7_LINKED = 1.0;
constexpr double HX7_LOST = 2.0;
// The tick without host traffic on which the link counts as lost; watchdogSeconds stays there.
constexpr int WATCHDOG_LIMIT_SECONDS = 11;
// What is posted on the splash page once the host is heard, in this order.
constexpr const char* SPLASH_EVENTS[] = {"orvik.SplashToSlate", "orvik.SplashToGauges"};

// Starts the thread, "HX7watchdog". Returns 0, or the error number of the failed start.
int Init_Watchdog(orvikData_t* data);
// The thread's body; `record` is the orvikData_t. One tick a second.
void* WatchdogThreadFn(void* record);
// One second has passed: counts it, publishes the link's state and posts its page events. On the splash page
// with the host heard, that is the way to the slate; with the link lost, the current page's time-out event,
// each second.
void WatchdogTick(orvikData_t* data);
