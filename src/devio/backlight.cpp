#include "src/devio/backlight.h"

#include <algorithm>
#include <cstdint>
#include <string>

#include <fcntl.h>

#include "platform/device.h"

#include "src/core/console.h"
#include "src/services/dbshm.h"

namespace {

constexpr std::uint32_t FULL_PERIOD = 100;  // so that the duty is a percentage

void SendCommand(int descriptor, unsigned command, void* data, std::size_t bytes) {
  devctl(descriptor, static_cast<int>(command), data, bytes, nullptr);
}

}  // namespace

void backlight(unsigned level) {
  const int descriptor = platform::OpenDevice(BACKLIGHT_DEVICE, O_RDONLY);
  if (descriptor < 1) PrintErr(std::string("ERRROR - UNABLE TO OPEN ") + BACKLIGHT_DEVICE + "!");
  std::uint32_t period = FULL_PERIOD;
  std::uint32_t duty = std::min<std::uint32_t>(level, FULL_PERIOD);
  SendCommand(descriptor, PWM_ENABLE, nullptr, 0);
  SendCommand(descriptor, PWM_SET_PERIOD, &period, sizeof period);
  SendCommand(descriptor, PWM_SET_DUTY, &duty, sizeof duty);
  if (descriptor >= 1) platform::CloseDevice(descriptor);
}

void SetBrightness(orvikData_t* data, int percent) {
  data->brightness = percent;
  DBSHM::Write(data->variables.brightness, static_cast<double>(percent));
  backlight(static_cast<unsigned>(std::max(percent, 0)));
}
