#include "unit/j1939/bus_report.h"

#include <utility>

#include <nlohmann/json.hpp>

#include "bus/text_fields.h"

namespace unit {
namespace {

nlohmann::json ToJson(const bus::frame_t& frame, BusReport::direction_t direction) {
  std::string data;
  bus::AppendHexBytes(data, frame.Bytes());
  return {{"time", static_cast<double>(frame.time_us) / 1e6},
          {"id", bus::FormatIdentifier(frame)},
          {"data", data},
          {"direction", direction == BusReport::direction_t::RECEIVED ? "rx" : "tx"}};
}

}  // namespace

void BusReport::Note(const bus::frame_t& frame, direction_t direction) {
  const std::lock_guard lock(mutex_);
  ++(direction == direction_t::RECEIVED ? received_ : sent_);
  const std::string identifier = bus::FormatIdentifier(frame);
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

void BusReport::NoteShort() {
  const std::lock_guard lock(mutex_);
  ++short_;
  changed_ = true;
}

void BusReport::SetUp(bool up) {
  const std::lock_guard lock(mutex_);
  changed_ = changed_ || up != up_;
  up_ = up;
}

std::optional<std::string> BusReport::DrainIfChanged() {
  const std::lock_guard lock(mutex_);
  if (!std::exchange(changed_, false)) return std::nullopt;
  nlohmann::json json = {{"bus", bus_},           {"interface", interface_}, {"state", up_ ? "up" : "down"},
                         {"received", received_}, {"sent", sent_},           {"refused", refused_},
                         {"dropped", dropped_},   {"short", short_},         {"identifiers", identifiers_}};
  nlohmann::json& frames = json["frames"] = nlohmann::json::array();
  for (const seen_frame_t& seen : frames_) frames.push_back(ToJson(seen.frame, seen.direction));
  return json.dump();
}

std::map<std::string, std::uint64_t> BusReport::Counters() const {
  const std::lock_guard lock(mutex_);
  return {{"received", received_},
          {"sent", sent_},
          {"refused", refused_},
          {"dropped", dropped_},
          {"short", short_}};
}

bool BusReport::IsUp() const {
  const std::lock_guard lock(mutex_);
  return up_;
}

}  // namespace unit
