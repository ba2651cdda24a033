// The beeper of a real display unit: an input device with a sounder (EV_SND), such as a buzzer on a PWM or the
// PC's speaker.
//
// Plays a tone (SND_TONE), or the bell (SND_BELL) where the device has no tone. While the device is not plugged
// in, it is looked for once a second. The device is silenced when it is opened, because a run that was killed
// may have left it sounding, and when it is closed.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "unit/board/input_device.h"

namespace unit {

// For one thread.
class BeeperDevice {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;
  static constexpr std::chrono::milliseconds RETRY{1000};
  static constexpr std::int32_t TONE_HERTZ = 2400;

  explicit BeeperDevice(std::string path) : path_(std::move(path)) {}
  // Silences the device.
  ~BeeperDevice();
  BeeperDevice(const BeeperDevice&) = delete;
  BeeperDevice& operator=(const BeeperDevice&) = delete;

  // Switches the sound on or off; to be called every few milliseconds. Never waits.
  void Sound(bool wanted, TimePoint now);
  // Why the device cannot sound; empty when it can.
  const std::string& Problem() const { return problem_; }

 private:
  void LookAfter(TimePoint now);
  void Open();
  void Send(bool on);

  const std::string path_;
  std::optional<InputDevice> device_;
  std::uint16_t code_ = 0;  // SND_TONE or SND_BELL
  bool sounds_ = false;
  TimePoint nextLook_{};
  std::string problem_;
};

}  // namespace unit
