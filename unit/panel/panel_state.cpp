#include "unit/panel/panel_state.h"

#include <cmath>
#include <utility>

#include <nlohmann/json.hpp>

#include "base/json_text.h"
#include "unit/database/attach.h"
#include "unit/hostwatch/host_report.h"
#include "unit/screen/client/screen_requests.h"
#include "unit/service/database_change.h"

namespace unit {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;

constexpr auto DATABASE_PERIOD = 100ms;
constexpr auto SECOND = 1s;
constexpr const char* NO_MANAGER = "no notification manager";

// A message on one line; empty when it is not a JSON object.
std::string ObjectOf(const std::string& message) {
  const json parsed = json::parse(message, nullptr, false);
  return parsed.is_object() ? base::DumpJson(parsed) : std::string();
}

// 0 when there is no such number.
std::uint64_t NumberMember(const json& object, const char* name) {
  const json value = object.value(name, json());
  return value.is_number_unsigned() ? value.get<std::uint64_t>() : 0;
}

struct sound_t {
  bool sounding = false;
  std::uint32_t pulses = 0;
};

sound_t SoundOf(const std::string& board) {
  const json beeper = json::parse(board).value("beeper", json());
  if (!beeper.is_object()) return {};
  return {beeper.value("sounding", json()) == json(true),
          static_cast<std::uint32_t>(NumberMember(beeper, "pulses"))};
}

// JSON has no infinities.
json FiniteOrNull(const std::optional<double>& value) {
  return value && std::isfinite(*value) ? json(*value) : json(nullptr);
}
}  // namespace

PanelState::PanelState(StreamHub& hub, ScreenClient& screen, std::vector<parameter_t> parameters)
    : hub_(hub), screen_(screen), parameters_(std::move(parameters)) {}

void PanelState::AcceptBoard(const std::string& message, TimePoint now) {
  const std::string board = ObjectOf(message);
  if (board.empty()) return;
  const sound_t sound = SoundOf(board);
  {
    const std::lock_guard lock(mutex_);
    beeper_.Note(sound.sounding, sound.pulses, now);
    if (board_ == board) return;
    board_ = board;
  }
  hub_.Broadcast("board", board);
}

void PanelState::AcceptBus(const std::string& message) {
  const std::string bus = ObjectOf(message);
  if (bus.empty()) return;
  {
    const std::lock_guard lock(mutex_);
    bus_ = bus;
  }
  hub_.Broadcast("bus", bus);
}

void PanelState::AcceptScreen(const std::string& change) {
  if (hub_.Count() == 0) {
    screenRevision_ = 0;  // the next reader's first change does not follow
    return;
  }
  const json parsed = json::parse(change, nullptr, false);
  if (!parsed.is_object()) return;
  const bool follows =
      NumberMember(parsed, "previous") == screenRevision_ && parsed.value("page", json()) == json(false);
  screenRevision_ = NumberMember(parsed, "revision");
  if (follows) {
    hub_.Broadcast(SCREEN_CHANGE, base::DumpJson(parsed));
  } else {
    BroadcastScreen();
  }
}

void PanelState::AcceptReconnect() {
  screenRevision_ = 0;
  BroadcastScreen();
}

void PanelState::BroadcastScreen() {
  std::string state;
  if (hub_.Count() > 0 && screen_.Ask(SCREEN_REQUEST_STATE, state)) hub_.Broadcast("screen", state);
}

void PanelState::AcceptDatabase(std::span<const std::uint8_t> message) {
  const std::optional<database_change_t> change = ReadDatabaseChange(message);
  if (!change) return;
  const std::lock_guard lock(mutex_);
  changed_[change->handle] = change->value;
}

void PanelState::Step(TimePoint now, bool connected) {
  const bool isSecond = now >= nextSecond_;
  if (isSecond) {
    nextSecond_ = now + SECOND;
    ReadParameters();
  }
  if ((healthChanged_.exchange(false) || isSecond) && hub_.Count() > 0) {
    hub_.Broadcast("health", Health(connected, now).json);
  }
  if (now >= nextDatabase_) {
    nextDatabase_ = now + DATABASE_PERIOD;
    BroadcastParameters();
  }
}

void PanelState::ReadParameters() {
  // With the first reader every value counts as changed, because the state that the reader received may be
  // older than the values read here.
  if (hub_.Count() == 0) return read_.clear();
  const DatabaseView database;
  if (database.Number() == 0) return;
  for (const parameter_t& parameter : parameters_) {
    const std::optional<double> value = ReadParameterValue(parameter.handle);
    const auto [known, fresh] = read_.emplace(parameter.handle, value);
    if (!fresh && known->second == value) continue;
    known->second = value;
    const std::lock_guard lock(mutex_);
    changed_[parameter.handle] = value;
  }
}

void PanelState::BroadcastParameters() {
  std::unique_lock lock(mutex_);
  const auto changed = std::exchange(changed_, {});
  lock.unlock();
  if (changed.empty()) return;
  json values = json::object();
  for (const auto& [handle, value] : changed) values[std::to_string(handle)] = FiniteOrNull(value);
  hub_.Broadcast("database", base::DumpJson(values));
}

std::string PanelState::Board() const {
  const std::lock_guard lock(mutex_);
  return board_;
}

std::string PanelState::Bus() const {
  const std::lock_guard lock(mutex_);
  return bus_;
}

std::string_view PanelState::Beeper(TimePoint now) const {
  const std::lock_guard lock(mutex_);
  return beeper_.Judge(now);
}

void PanelState::AcceptHost(std::span<const std::uint8_t> message) {
  const std::optional<host_report_t> report = ReadHostReport(message);
  if (!report) return;
  const std::lock_guard lock(mutex_);
  hostValuesAt_ = report->valuesAt;
}

std::optional<double> PanelState::HostValuesAge(TimePoint now) const {
  const std::lock_guard lock(mutex_);
  if (hostValuesAt_ == TimePoint{}) return std::nullopt;
  return std::chrono::duration<double>(now - hostValuesAt_).count();
}

HealthBook::report_t PanelState::Health(bool connected, TimePoint now) const {
  return health_.Report(connected ? "" : NO_MANAGER, now);
}

bool PanelState::Database(std::string& text) const {
  const DatabaseView database;
  if (database.Number() == 0) return false;
  json parameters = json::array();
  for (const parameter_t& parameter : parameters_) {
    const std::optional<double> value = ReadParameterValue(parameter.handle);
    parameters.push_back({{"name", parameter.name},
                          {"handle", parameter.handle},
                          {"value", FiniteOrNull(value)},
                          {"valid", value.has_value()}});
  }
  text = base::DumpJson({{"parameters", std::move(parameters)}});
  return true;
}

std::string PanelState::FullState(bool connected) const {
  std::string text, state;
  if (screen_.Ask(SCREEN_REQUEST_STATE, state)) text += StreamHub::Format("screen", state);
  text += StreamHub::Format("board", Board());
  text += StreamHub::Format("bus", Bus());
  if (Database(state)) text += StreamHub::Format("parameters", state);
  return text + StreamHub::Format("health", Health(connected, std::chrono::steady_clock::now()).json);
}

std::string WithoutPicture(const std::string& state) {
  json parsed = json::parse(state, nullptr, false);
  if (parsed.is_object()) parsed.erase("svg");
  return base::DumpJson(parsed);
}

}  // namespace unit
