#include "unit/program/event_commands.h"

#include <algorithm>
#include <array>
#include <iostream>
#include <map>
#include <vector>

#include <nlohmann/json.hpp>

#include "platform/byte_order.h"

#include "base/exit_status.h"
#include "base/json_text.h"
#include "base/nearest_word.h"
#include "unit/database/database_commands.h"
#include "unit/health/notify_link.h"
#include "unit/health/subscriber.h"

namespace unit {
namespace {

using nlohmann::json;

constexpr std::chrono::milliseconds WATCH_PERIOD{200};

enum class notice_kind_t { EVENT, ACTION };

struct notice_t {
  notice_kind_t kind;
  std::uint32_t number;
};
using notices_t = std::map<std::string, notice_t>;  // by name

notices_t CollectNotices(const screen_names_t& names) {
  notices_t notices;
  for (const auto& [number, name] : names.events) notices.emplace(name, notice_t{notice_kind_t::EVENT, number});
  for (const auto& [name, number] : names.actions)
    notices.emplace(name, notice_t{notice_kind_t::ACTION, number});
  return notices;
}

const char* KindName(notice_kind_t kind) {
  return kind == notice_kind_t::EVENT ? "event " : "action";
}

json DescribeNotice(const notice_t& notice, const std::string& name) {
  return {{"kind", notice.kind == notice_kind_t::EVENT ? "event" : "action"},
          {"name", name},
          {"number", notice.number}};
}

int ReportNoManager() {
  std::cerr << "unit events: no notification manager here. Start one with \"unit run\", or set "
               "ORVIK_RUNTIME_DIR to the folder of the running unit.\n";
  return base::EXIT_FAILED;
}

// The event or action that has this name or, alone, begins with it; prints an error when there is none or more
// than one.
notices_t::const_iterator CompleteNotice(const notices_t& notices, const std::string& name) {
  std::vector<std::string> all;
  for (const auto& entry : notices) all.push_back(entry.first);
  const auto candidates = FindCandidates(all, name);
  if (candidates.size() == 1) return notices.find(std::string(candidates[0]));
  std::cerr << "unit events: \"" << name << "\" is " << (candidates.empty() ? "no" : "more than one")
            << " event or action" << (candidates.empty() ? base::Suggest(name, all) : "")
            << "; \"unit events list\" shows all.\n";
  return notices.end();
}

bool Publish(const screen_names_t& names, const notice_t& notice) {
  NotifyLink link;
  if (notice.kind == notice_kind_t::EVENT) {
    std::array<std::uint8_t, 4> message{};
    platform::StoreLe32(message, 0, notice.number);
    return link.Publish(names.eventChannel.c_str(), message);
  }
  const int channel = link.RegisterChannel(names.actionChannel.c_str());
  if (channel < 0) return false;
  return link.Publish(names.actionChannel.c_str(), ActionMessage(channel, notice.number));
}

// Prints the messages of the two channels as lines.
class NoticePrinter {
 public:
  NoticePrinter(const screen_names_t& names, const watch_options_t& options) : options_(options) {
    for (const auto& [name, notice] : CollectNotices(names)) {
      names_[static_cast<std::size_t>(notice.kind)].emplace(notice.number, name);
    }
  }

  void Accept(notice_kind_t kind, std::span<const std::uint8_t> payload) {
    const std::size_t numberAt = kind == notice_kind_t::EVENT ? 0 : 4;
    if (payload.size() != numberAt + 4) return;
    const std::uint32_t number = platform::LoadLe32(payload, numberAt);
    const auto& known = names_[static_cast<std::size_t>(kind)];
    const auto found = known.find(number);
    const std::string name = found == known.end() ? std::to_string(number) : found->second;
    if (!options_.all && IsRoutine(kind, name)) return;
    if (options_.asJson) {
      std::cout << base::DumpJson(DescribeNotice({kind, number}, name)) << std::endl;
    } else {
      std::cout << KindName(kind) << ' ' << name << std::endl;
    }
  }

 private:
  bool IsRoutine(notice_kind_t kind, const std::string& name) {
    if (kind == notice_kind_t::EVENT) return name.ends_with("HeartbeatEvent");
    const bool repeated = name == lastAction_ && name.starts_with("Page.");
    lastAction_ = name;
    return repeated;
  }

  const watch_options_t options_;
  std::array<std::map<std::uint32_t, std::string>, 2> names_;  // by kind and number
  std::string lastAction_;
};

}  // namespace

int ListEvents(const std::string& genericFile, const std::string& prefix, bool asJson) {
  json all = json::array();
  for (const auto& [name, notice] : CollectNotices(ReadScreenNames(genericFile))) {
    if (!name.starts_with(prefix)) continue;
    all.push_back(DescribeNotice(notice, name));
    if (!asJson) std::cout << KindName(notice.kind) << ' ' << name << '\n';
  }
  if (asJson) std::cout << base::DumpJson(all) << '\n';
  return base::EXIT_DONE;
}

bool PublishEvent(const screen_names_t& names, const std::string& name) {
  const notices_t notices = CollectNotices(names);
  const auto found = notices.find(name);
  return found != notices.end() && found->second.kind == notice_kind_t::EVENT && Publish(names, found->second);
}

int PostNotice(const std::string& genericFile, const std::string& name) {
  const screen_names_t names = ReadScreenNames(genericFile);
  const notices_t notices = CollectNotices(names);
  const auto found = CompleteNotice(notices, name);
  if (found == notices.end()) return base::EXIT_CALLED_WRONGLY;
  if (!Publish(names, found->second)) return ReportNoManager();
  std::cout << KindName(found->second.kind) << ' ' << found->first << '\n';
  return base::EXIT_DONE;
}

int WatchEvents(const std::string& genericFile, const watch_options_t& options,
                const std::function<bool(std::chrono::milliseconds)>& pause) {
  const screen_names_t names = ReadScreenNames(genericFile);
  if (!ConnectToManager()) return ReportNoManager();
  NoticePrinter printer(names, options);
  const Subscriber subscriber(
      {names.eventChannel, names.actionChannel},
      [&printer](std::size_t channel, std::span<const std::uint8_t> payload) {
        printer.Accept(channel == 0 ? notice_kind_t::EVENT : notice_kind_t::ACTION, payload);
      },
      [] { std::cerr << "unit events: watching; Ctrl-C ends it." << std::endl; });
  while (pause(WATCH_PERIOD)) {
  }
  return base::EXIT_DONE;
}

}  // namespace unit
