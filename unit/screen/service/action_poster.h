// Posts the screen's actions, which the application follows.
#pragma once

#include <chrono>
#include <string>

#include "unit/health/notify_link.h"
#include "unit/screen/design/screen_names.h"

namespace unit {

// For one thread.
class ActionPoster {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  // Both must outlive the object.
  ActionPoster(const screen_names_t& names, NotifyLink& link) : names_(names), link_(link) {}

  // Posts an action by its name. False when the configuration does not have it or no manager runs.
  bool Post(const std::string& action);
  // Posts the action of the page shown when it has changed, and once a second, so that an application that
  // starts late, or again, changes to that page.
  void PostPage(const std::string& action, TimePoint now);

 private:
  const screen_names_t& names_;
  NotifyLink& link_;
  std::string posted_;
  TimePoint nextPost_{};
};

}  // namespace unit
