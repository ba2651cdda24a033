#include "unit/screen/service/action_poster.h"

namespace unit {
namespace {

constexpr std::chrono::seconds POST_PERIOD{1};

}  // namespace

bool ActionPoster::Post(const std::string& action) {
  const auto number = names_.actions.find(action);
  if (number == names_.actions.end() || names_.actionChannel.empty()) return false;
  const int channel = link_.RegisterChannel(names_.actionChannel.c_str());
  return channel >= 0 && link_.Publish(names_.actionChannel.c_str(), ActionMessage(channel, number->second));
}

void ActionPoster::PostPage(const std::string& action, TimePoint now) {
  if ((action == posted_ && now < nextPost_) || !Post(action)) return;
  posted_ = action;
  nextPost_ = now + POST_PERIOD;
}

}  // namespace unit
