#include "bench/exhaustive/recorded_screen.h"

#include "src/screenapi/screen_api.h"

namespace exhaustive {

std::array<std::string, RECORDED_HANDLES> recordedTexts;

}  // namespace exhaustive

ScreenApi::ScreenApi() = default;
ScreenApi::~ScreenApi() = default;

void ScreenApi::setTextGauge(int handle, const std::string& text, int /*attribute*/) {
  exhaustive::recordedTexts.at(static_cast<std::size_t>(handle)) = text;
}
