#include "unit/board/kernel_backlight.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

#include "base/descriptor.h"

namespace unit {
namespace {

constexpr const char* MAXIMUM_FILE = "/max_brightness";
constexpr const char* STRENGTH_FILE = "/brightness";
constexpr const char* POWER_FILE = "/bl_power";

[[noreturn]] void RefuseFile(const std::string& path, int error) {
  const char* const remedy = error == EACCES || error == EPERM ? "; let this user write it" : "";
  throw std::runtime_error(path + ": " + std::generic_category().message(error) + remedy);
}

}  // namespace

std::uint32_t Brightness(std::uint32_t most, std::uint32_t period, std::uint32_t duty) {
  if (period == 0 || duty == 0) return 0;
  const std::uint64_t share = std::uint64_t{most} * std::min(duty, period);
  return std::max(1U, static_cast<std::uint32_t>((share + period / 2) / period));
}

KernelBacklight::KernelBacklight(std::string directory) : directory_(std::move(directory)) {
  try {
    most_ = ReadMaximum();
    CheckWritable(STRENGTH_FILE);
    if (::access((directory_ + POWER_FILE).c_str(), F_OK) == 0) CheckWritable(POWER_FILE);
  } catch (const std::runtime_error& error) {
    throw std::runtime_error(std::string("backlight: ") + error.what() +
                             ". Give --backlight a folder of /sys/class/backlight that this user may write.");
  }
}

std::uint32_t KernelBacklight::ReadMaximum() const {
  const std::string path = directory_ + MAXIMUM_FILE;
  std::ifstream file(path);
  if (!file) RefuseFile(path, errno);
  std::string text;
  std::getline(file, text);
  std::uint32_t most = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), most);
  if (error != std::errc() || end != text.data() + text.size() || most == 0) {
    throw std::runtime_error(path + ": is not a number above 0");
  }
  return most;
}

void KernelBacklight::CheckWritable(const std::string& file) const {
  if (::access((directory_ + file).c_str(), W_OK) != 0) RefuseFile(directory_ + file, errno);
}

// The kernel takes a value only in a single write.
void KernelBacklight::Write(const std::string& file, std::uint32_t value) const {
  const std::string path = directory_ + file;
  const base::Descriptor descriptor(::open(path.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC));
  const std::string text = std::to_string(value) + "\n";
  if (descriptor.Get() < 0 || ::write(descriptor.Get(), text.data(), text.size()) < 0) RefuseFile(path, errno);
}

void KernelBacklight::Follow(bool enabled, std::uint32_t period, std::uint32_t duty, TimePoint now) {
  // The application enables the PWM and sets period and duty directly after; a step between the two would
  // switch the light off. So the PWM counts only when the step before found it enabled too.
  const bool isSettled = enabled && wasEnabled_;
  wasEnabled_ = enabled;
  if (!isSettled || period == 0 || now < nextTry_) return;
  try {
    if (!problem_.empty()) most_ = ReadMaximum();  // another driver may have taken its place
    Apply(period, duty);
    problem_.clear();
  } catch (const std::runtime_error& error) {
    problem_ = error.what();
    isPowered_ = false;
    strength_.reset();
    nextTry_ = now + RETRY;
  }
}

void KernelBacklight::Apply(std::uint32_t period, std::uint32_t duty) {
  if (!isPowered_ && ::access((directory_ + POWER_FILE).c_str(), F_OK) == 0) Write(POWER_FILE, 0);
  isPowered_ = true;
  const std::uint32_t strength = Brightness(most_, period, duty);
  if (strength_ != strength) Write(STRENGTH_FILE, strength);
  strength_ = strength;
}

}  // namespace unit
