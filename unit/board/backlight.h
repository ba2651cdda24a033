// The backlight of a real display unit: a folder of the kernel's backlight class (/sys/class/backlight/NAME).
//
// Its files: max_brightness and brightness, numbers in steps of the driver's own; bl_power, where there is one,
// 0 for on.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace unit {

// The share `duty` of `period` in steps from 0 to `most`, rounded; never dark for a duty above 0.
std::uint32_t Brightness(std::uint32_t most, std::uint32_t period, std::uint32_t duty);

// One thread.
class Backlight {
 public:
  using time_t = std::chrono::steady_clock::time_point;
  static constexpr std::chrono::milliseconds RETRY{1000};

  // Throws std::runtime_error with what is wrong in the folder and what to do.
  explicit Backlight(std::string directory);

  // Gives the light the strength that the board's PWM has; to be called every few milliseconds. Until the PWM
  // is enabled and has a period, the light stays as it was found. A write that fails is tried again after
  // RETRY.
  void Follow(bool enabled, std::uint32_t period, std::uint32_t duty, time_t now);
  // What keeps the light from following; empty when nothing does.
  const std::string& Problem() const { return problem_; }

 private:
  std::uint32_t ReadMaximum() const;
  void CheckWritable(const std::string& file) const;
  void Write(const std::string& file, std::uint32_t value) const;
  void Apply(std::uint32_t period, std::uint32_t duty);

  const std::string directory_;
  std::uint32_t most_ = 0;
  bool wasEnabled_ = false;
  bool isPowered_ = false;                 // bl_power has been written
  std::optional<std::uint32_t> strength_;  // as last written
  time_t nextTry_{};
  std::string problem_;
};

}  // namespace unit
