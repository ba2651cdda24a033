// The commands `unit events list|post|watch`: the events and actions that the application and the screen
// service send each other.
//
// Each command prints its result and returns the exit status: 0, or 1 after it has printed an error. Names come
// from the generic configuration; a prefix that only one name has stands for that name.
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "unit/screen/design/screen_names.h"

namespace unit {

// Prints the names of all events and actions, or of those with the prefix; with `asJson` as an array of objects
// {"kind":"event","name":...,"number":...}.
int ListEvents(const std::string& genericFile, const std::string& prefix, bool asJson);

// Publishes an event by its whole name. False when there is no such event or no notification manager.
bool PublishEvent(const screen_names_t& names, const std::string& name);

// Publishes an event as the application would, or an action as the screen service would.
int PostNotice(const std::string& genericFile, const std::string& name);

// Prints events and actions as they are published, until `pause`, which waits for the given time, returns
// false. Leaves out heartbeats and the repetitions of the page's action unless `all` is set. With `asJson` one
// object a line.
struct watch_options_t {
  bool all = false;
  bool asJson = false;
};
int WatchEvents(const std::string& genericFile, const watch_options_t& options,
                const std::function<bool(std::chrono::milliseconds)>& pause);

}  // namespace unit
