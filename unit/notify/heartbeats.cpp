#include "unit/notify/heartbeats.h"

#include <algorithm>

#include <pugixml.hpp>

#include "platform/byte_order.h"

namespace unit {
namespace {

constexpr const char* EXIT_EVENT = "orvik.ExitApplication";

std::optional<std::uint32_t> FindEvent(const pugi::xml_node& events, const char* name) {
  const pugi::xml_node event = events.find_child_by_attribute("Event", "name", name);
  if (!event) return std::nullopt;
  return event.attribute("id").as_uint();
}

}  // namespace

std::string HeartbeatMonitor::ReadEvents(const std::string& genericFile) {
  pugi::xml_document document;
  const pugi::xml_parse_result parsed = document.load_file(genericFile.c_str());
  if (!parsed) return genericFile + ": " + parsed.description();
  const pugi::xml_node events = document.child("orvik-generic").child("Events");
  channelName_ = events.attribute("channel").as_string();
  for (watched_worker_t& worker : workers_) worker.id = FindEvent(events, worker.event);
  exitId_ = FindEvent(events, EXIT_EVENT);
  return channelName_.empty() ? genericFile + ": there is no <Events channel=\"...\">" : std::string();
}

std::optional<std::string> HeartbeatMonitor::Note(int channel, std::span<const std::uint8_t> payload,
                                                  TimePoint now) {
  if (channel != channel_ || payload.size() != sizeof(std::uint32_t)) return std::nullopt;
  const std::uint32_t event = platform::LoadLe32(payload, 0);
  if (NoteEnd(event, now) || now < leavingUntil_) return std::nullopt;
  const auto worker =
      std::ranges::find_if(workers_, [event](const watched_worker_t& w) { return w.id == event; });
  if (worker == workers_.end()) return std::nullopt;
  // The application starts all its workers together: with the first heartbeat of one, those of the others are due.
  for (watched_worker_t& other : workers_) {
    if (other.id && !other.lastSeen) other.lastSeen = now;
  }
  worker->lastSeen = now;
  if (!worker->missing) return std::nullopt;
  worker->missing = false;
  return std::string("notify: the application's ") + worker->name + " worker is back";
}

bool HeartbeatMonitor::IsHeartbeat(std::span<const std::uint8_t> event) const {
  if (event.size() != sizeof(std::uint32_t)) return false;
  const std::uint32_t id = platform::LoadLe32(event, 0);
  return std::ranges::any_of(workers_, [id](const watched_worker_t& worker) { return worker.id == id; });
}

// After the application's end no heartbeat is expected until one arrives later than LEAVING_TIME.
bool HeartbeatMonitor::NoteEnd(std::uint32_t event, TimePoint now) {
  if (exitId_ != event) return false;
  for (watched_worker_t& worker : workers_) {
    worker.lastSeen.reset();
    worker.missing = false;
  }
  leavingUntil_ = now + LEAVING_TIME;
  return true;
}

std::vector<std::string> HeartbeatMonitor::Check(TimePoint now) {
  std::vector<std::string> lines;
  for (watched_worker_t& worker : workers_) {
    if (!worker.lastSeen || worker.missing || now - *worker.lastSeen < MISSING_AFTER) continue;
    worker.missing = true;
    lines.push_back(std::string("notify: no heartbeat of the application's ") + worker.name +
                    " worker for 2 s");
  }
  return lines;
}

}  // namespace unit
