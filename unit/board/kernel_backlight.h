// The backlight of a real display unit: a folder of the kernel's backlight class (/sys/class/backlight/NAME).
//
// Its files: brightness and max_brightness, numbers in steps that the driver defines; bl_power, which not every
// driver has, 0 for on.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace unit {

// The share `duty` of `period` in steps from 0 to `most`, rounded; never dark for a duty above 0.
std::uint32_t Brightness(std::uint32_t most, std::uint32_t period, std::uint32_t duty);

// For one thread.
class KernelBacklight {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;
  static constexpr std::chrono::milliseconds RETRY{1000};

  // Throws std::runtime_error with the problem in the folder and what to do about it.
  explicit KernelBacklight(std::string directory);

  // Sets the light to the strength of the board's PWM; to be called every few milliseconds. Does not touch the
  // light before the PWM is enabled and has a period. Repeats a failed write after RETRY.
  void Follow(bool enabled, std::uint32_t period, std::uint32_t duty, TimePoint now);
  // Why the light does not follow the PWM; empty when it does.
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
  TimePoint nextTry_{};
  std::string problem_;
};

}  // namespace unit
