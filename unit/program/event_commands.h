// The events and actions that application and screen exchange, from a shell.
//
// Each prints what it found or did and returns the exit status: 0, or 1 after an error was printed. Names come
// from the generic configuration; one may be shortened while it means one only.
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "unit/screen/design/screen_names.h"

namespace unit {

// Prints the names of all events and actions, or of those with the prefix.
int ListEvents(const std::string& genericFile, const std::string& prefix);

// Publishes an event by its whole name. False while there is no such event or no manager.
bool PublishEvent(const screen_names_t& names, const std::string& name);

// Publishes an event as the application would, or an action as the screen service would.
int PostEvent(const std::string& genericFile, const std::string& name);

// Prints events and actions as they are published, until `pause` (which waits for its argument) says false.
// Heartbeats, and the page's action while it only repeats, show with `all` alone.
int WatchEvents(const std::string& genericFile, bool all,
                const std::function<bool(std::chrono::milliseconds)>& pause);

}  // namespace unit
