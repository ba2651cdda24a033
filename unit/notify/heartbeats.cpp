#include "notify/heartbeats.h"

#include <algorithm>

#include <pugixml.hpp>

#include "platform/byte_order.h"

namespace unit {

std::string HeartbeatMonitor::Load(const std::string& genericFile) {
  pugi::xml_document document;
  const pugi::xml_parse_result parsed = document.load_file(genericFile.c_str());
  if (!parsed) return genericFile + ": " + parsed.description();
  const pugi::xml_node events = document.child("orvik-generic").child("Events");
  channelName_ = events.attribute("channel").as_string();
  for (Worker_t& worker : workers_) {
    const pugi::xml_node event = events.find_child_by_attribute("Event", "name", worker.event);
    if (event) worker.id = event.attribute("id").as_uint();
  }
  return channelName_.empty() ? genericFile + ": has no <Events channel=\"...\">" : std::string();
}

std::optional<std::string> HeartbeatMonitor::Note(int channel, std::span<const std::uint8_t> payload,
                                                  time_t now) {
  if (channel != channel_ || payload.size() != sizeof(std::uint32_t)) return std::nullopt;
  const std::uint32_t event = platform::LoadLe32(payload, 0);
  const auto worker = std::ranges::find_if(workers_, [event](const Worker_t& w) { return w.id == event; });
  if (worker == workers_.end()) return std::nullopt;
  worker->lastSeen = now;
  if (!worker->missing) return std::nullopt;
  worker->missing = false;
  return std::string("notify: the application's ") + worker->name + " worker is back";
}

std::vector<std::string> HeartbeatMonitor::Check(time_t now) {
  std::vector<std::string> lines;
  for (Worker_t& worker : workers_) {
    if (!worker.lastSeen || worker.missing || now - *worker.lastSeen < MISSING_AFTER) continue;
    worker.missing = true;
    lines.push_back(std::string("notify: no heartbeat of the application's ") + worker.name +
                    " worker for 2 s");
  }
  return lines;
}

}  // namespace unit
