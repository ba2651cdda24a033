#include "unit/j1939/bus_report.h"

#include <array>
#include <cstdio>

#include <nlohmann/json.hpp>

namespace unit {
namespace {

std::string FormatIdentifier(const bus::frame_t& frame) {
  std::array<char, 12> text{};
  static_cast<void>(
      std::snprintf(text.data(), text.size(), frame.extended ? "%08X" : "%03X", frame.identifier));
  return text.data();
}

std::string FormatData(const bus::frame_t& frame) {
  static constexpr std::string_view DIGITS = "0123456789ABCDEF";
  std::string text;
  for (const std::uint8_t byte : frame.Bytes()) {
    text += DIGITS[byte >> 4U];
    text += DIGITS[byte & 0xFU];
  }
  return text;
}

}  // namespace

void BusReport::Note(const bus::frame_t& frame, direction_t direction) {
  const std::lock_guard lock(mutex_);
  ++(direction == direction_t::RECEIVED ? received_ : sent_);
  const std::string identifier = FormatIdentifier(frame);
  if (const auto found = identifiers_.find(identifier); found != identifiers_.end()) {
    ++found->second;
  } else if (identifiers_.size() < MAX_IDENTIFIERS) {
    identifiers_.emplace(identifier, 1);
  }
  frames_.push_back({frame, direction});
  if (frames_.size() > LAST_FRAMES) frames_.pop_front();
  changed_ = true;
}

void BusReport::NoteRefused() {
  const std::lock_guard lock(mutex_);
  ++refused_;
  changed_ = true;
}

void BusReport::NoteDropped() {
  const std::lock_guard lock(mutex_);
  ++dropped_;
  changed_ = true;
}

void BusReport::SetUp(bool up) {
  const std::lock_guard lock(mutex_);
  changed_ = changed_ || up != up_;
  up_ = up;
}

std::optional<std::string> BusReport::TakeIfChanged() {
  const std::lock_guard lock(mutex_);
  if (!std::exchange(changed_, false)) return std::nullopt;
  nlohmann::json json = {{"bus", bus_},
                         {"interface", interface_},
                         {"state", up_ ? "up" : "down"},
                         {"received", received_},
                         {"sent", sent_},
                         {"refused", refused_},
                         {"dropped", dropped_},
                         {"identifiers", identifiers_}};
  nlohmann::json& frames = json["frames"] = nlohmann::json::array();
  for (const entry_t& entry : frames_) {
    frames.push_back({{"time", static_cast<double>(entry.frame.time_us) / 1e6},
                      {"id", FormatIdentifier(entry.frame)},
                      {"data", FormatData(entry.frame)},
                      {"direction", entry.direction == direction_t::RECEIVED ? "rx" : "tx"}});
  }
  return json.dump();
}

std::map<std::string, std::uint64_t> BusReport::Counters() const {
  const std::lock_guard lock(mutex_);
  return {{"received", received_}, {"sent", sent_}, {"refused", refused_}, {"dropped", dropped_}};
}

bool BusReport::IsUp() const {
  const std::lock_guard lock(mutex_);
  return up_;
}

}  // namespace unit
