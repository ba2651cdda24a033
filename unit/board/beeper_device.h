// The beeper of a real display unit: an input device that sounds (EV_SND), like a buzzer on a PWM or the PC's
// speaker.
//
// Sounds a tone (SND_TONE), or rings the bell (SND_BELL) where the device has no tone. A device that is not
// there, or goes, is waited for and looked for once a second. It is silenced when opened, for the case that an
// earlier run was killed while it sounded, and when closed.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "unit/board/input_device.h"

namespace unit {

// One thread.
class BeeperDevice {
 public:
  using time_t = std::chrono::steady_clock::time_point;
  static constexpr std::chrono::milliseconds RETRY{1000};
  static constexpr std::int32_t TONE_HERTZ = 2400;

  explicit BeeperDevice(std::string path) : path_(std::move(path)) {}
  // Silences the device.
  ~BeeperDevice();
  BeeperDevice(const BeeperDevice&) = delete;
  BeeperDevice& operator=(const BeeperDevice&) = delete;

  // Has the device sound or be silent from now on; to be called every few milliseconds. Never waits.
  void Sound(bool wanted, time_t now);
  // What keeps the device from sounding; empty when nothing does.
  const std::string& Problem() const { return problem_; }

 private:
  void LookAfter(time_t now);
  void Open();
  void Send(bool on);

  const std::string path_;
  std::optional<InputDevice> device_;
  std::uint16_t code_ = 0;  // SND_TONE or SND_BELL
  bool sounds_ = false;
  time_t nextLook_{};
  std::string problem_;
};

}  // namespace unit
