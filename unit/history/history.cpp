#include "unit/history/history.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string_view>
#include <utility>

#include <nlohmann/json.hpp>

#include "base/json_text.h"
#include "expect/shown_names.h"
#include "unit/screen/design/screen_model.h"
#include "unit/screen/design/screen_names.h"

namespace unit {
namespace {

using nlohmann::json;

constexpr double HUNDRED = 100;
constexpr std::string_view PERCENT_CURVE = "percent";
constexpr std::int64_t CLICK_MS = 50;  // the sign of a beep that is over when the board tells of it
constexpr std::string_view LENGTH_WIDGET = "UnitsDistance";
constexpr std::array<std::string_view, 3> FEET_WORDS = {"feet", "pies", "pieds"};

// The lamps that warn, and the rows in which they are told.
struct lamp_band_t {
  const char* variable;
  const char* row;
  std::string_view label;
};
constexpr auto LAMP_BANDS =
    std::to_array<lamp_band_t>({{"OrvikOverload", "overload", "overload"},
                                {"OrvikPreAlarm", "prealarm", "near limit"},
                                {"OrvikA2B", "two-block", "two-block"},
                                {"OrvikAlarmSet", "alarm", "alarm"},
                                {"OrvikAngleAlarmTripped", "angle limit", "angle"},
                                {"OrvikRadiusAlarmTripped", "radius limit", "radius"},
                                {"OrvikExtensionAlarmTripped", "extension limit", "extension"},
                                {"OrvikSwingAlarmTripped", "swing limit", "swing"}});

std::uint64_t NumberOf(const json& object, const char* name) {
  const json value = object.value(name, json());
  return value.is_number_unsigned() ? value.get<std::uint64_t>() : 0;
}

std::string TextOf(const json& object, const char* name) {
  const json value = object.value(name, json());
  return value.is_string() ? value.get<std::string>() : std::string();
}

json MemberOf(const json& object, const char* name) {
  return object.is_object() ? object.value(name, json()) : json();
}

// The service's elements are objects; those of a chunk are lists, as in a film.
json ListElements(const json& elements) {
  json list = json::array();
  for (const json& element : elements) {
    json row = {MemberOf(element, "id"), MemberOf(element, "attributes")};
    if (element.contains("content")) row.push_back(element["content"]);
    list.push_back(std::move(row));
  }
  return list;
}

std::string_view LinkLabel(int dataState) {
  if (dataState == DATA_LINK_LOST) return "lost";
  return dataState == DATA_PROGRAM_SILENT ? "display silent" : "";
}

std::string_view LanguageName(double language) {
  const auto& names = expect::LANGUAGE_NAMES;
  return language >= 0 && language < static_cast<double>(names.size())
             ? names.at(static_cast<std::size_t>(language))
             : std::string_view();
}

}  // namespace

History::History(ask_t askScreen, std::function<TimePoint()> clock)
    : askScreen_(std::move(askScreen)), clock_(std::move(clock)), begin_(clock_()) {}

std::int64_t History::Now_ms() const {
  return std::chrono::duration_cast<std::chrono::milliseconds>(clock_() - begin_).count();
}

void History::AcceptScreen(const std::string& message) {
  const json change = json::parse(message, nullptr, false);
  if (!change.is_object()) return;
  const std::int64_t now_ms = Now_ms();
  {
    const std::lock_guard lock(mutex_);
    NoteSilence(now_ms);
    heard_ms_ = now_ms;
    if (IsContained(change, now_ms)) return;
    const bool follows =
        NumberOf(change, "previous") == revision_ && change.value("page", json()) == json(false);
    if (follows && revision_ != 0 && !screens_.IsDue(now_ms)) return TakeChange(change, now_ms);
  }
  TakeWhole(now_ms);
}

// A sign of life has the same revision as the screen and is none of these.
bool History::IsContained(const json& change, std::int64_t now_ms) const {
  return NumberOf(change, "previous") < revision_ && NumberOf(change, "revision") <= revision_ &&
         now_ms - whole_ms_ < BACKLOG_MS;
}

void History::TakeChange(const json& change, std::int64_t now_ms) {
  revision_ = NumberOf(change, "revision");
  const json elements = MemberOf(change, "elements");
  if (elements.is_array() && !elements.empty()) {
    screens_.Add(now_ms, base::DumpJson({{"elements", ListElements(elements)}}));
  }
  NoteVariables(change);
  NoteState(now_ms);
}

// The service answers without the lock being held, because it may take a second.
void History::TakeWhole(std::int64_t now_ms) {
  std::string text;
  const json state = askScreen_(text) ? json::parse(text, nullptr, false) : json();
  const std::lock_guard lock(mutex_);
  if (!state.is_object()) return NoteUnknown(now_ms);
  revision_ = NumberOf(state, "revision");
  whole_ms_ = now_ms;
  page_ = TextOf(state, "page");
  isKnown_ = true;
  const std::string whole =
      base::DumpJson({{"page", page_}, {"title", TextOf(state, "title")}, {"svg", TextOf(state, "svg")}});
  screens_.IsDue(now_ms) ? screens_.Begin(now_ms, whole) : screens_.Add(now_ms, whole);
  variables_.clear();
  NoteVariables(state);
  NoteState(now_ms);
}

void History::NoteVariables(const json& message) {
  const json variables = MemberOf(message, "variables");
  for (const auto& [name, value] : variables.items()) {
    if (value.is_number()) {
      variables_[name] = value.get<double>();
    } else {
      variables_.erase(name);
    }
  }
  const json widgets = MemberOf(message, "widgets");
  for (const auto& [name, text] : widgets.items()) {
    if (!name.ends_with(LENGTH_WIDGET) || !text.is_string() || text == json("")) continue;
    isMetric_ = std::ranges::find(FEET_WORDS, text.get<std::string>()) == FEET_WORDS.end();
  }
}

double History::ValueOf(const char* variable) const {
  const auto found = variables_.find(variable);
  return found == variables_.end() ? std::numeric_limits<double>::quiet_NaN() : found->second;
}

// Where the data are not current the screen shows dashes, and all lamps are dark.
void History::NoteState(std::int64_t now_ms) {
  const double known = isKnown_ ? ValueOf(DATA_STATE_VARIABLE) : 0;
  const int dataState = std::isfinite(known) ? static_cast<int>(known) : 0;
  history_values_t values{};
  for (std::size_t i = 0; i < values.size(); ++i) {
    const history_curve_t& curve = HISTORY_CURVES.at(i);
    const double value = dataState == DATA_CURRENT ? ValueOf(curve.variable) : std::nan("");
    values.at(i) = static_cast<float>(curve.name == PERCENT_CURVE ? value * HUNDRED : value);
  }
  values_.Add(now_ms, values, isMetric_);
  NoteBands(now_ms, dataState);
}

void History::NoteBands(std::int64_t now_ms, int dataState) {
  spans_.Set("page", now_ms, isKnown_ ? page_ : "");
  spans_.Set("language", now_ms, isKnown_ ? LanguageName(ValueOf(LANGUAGE_VARIABLE)) : "");
  spans_.Set("link", now_ms, LinkLabel(dataState));
  for (const lamp_band_t& lamp : LAMP_BANDS) {
    const double value = dataState == DATA_CURRENT ? ValueOf(lamp.variable) : 0;
    spans_.Set(lamp.row, now_ms, value > 0 ? lamp.label : "");
  }
}

void History::NoteSilence(std::int64_t now_ms) {
  if (isKnown_ && now_ms - heard_ms_ > SILENCE_MS) NoteUnknown(heard_ms_ + SILENCE_MS);
}

void History::NoteUnknown(std::int64_t now_ms) {
  revision_ = 0;
  isKnown_ = false;
  if (screens_.IsDue(now_ms)) {
    screens_.Begin(now_ms, "null");
  } else {
    screens_.Add(now_ms, R"({"page":null})");
  }
  NoteState(now_ms);
}

void History::AcceptReconnect() {
  const std::lock_guard lock(mutex_);
  revision_ = 0;
}

void History::AcceptBoard(const std::string& message) {
  const json board = json::parse(message, nullptr, false);
  const json beeper = MemberOf(board, "beeper");
  const json keys = MemberOf(board, "keys");
  if (!beeper.is_object() || !keys.is_array()) return;
  const std::int64_t now_ms = Now_ms();
  const std::lock_guard lock(mutex_);
  const bool sounds = beeper.value("sounding", json()) == json(true);
  const std::uint64_t pulses = NumberOf(beeper, "pulses");
  const bool isNew = std::exchange(pulses_, pulses).value_or(pulses) != pulses;
  if (sounds || isNew) spans_.Set("beeper", now_ms, "sounds");
  if (!sounds) spans_.Set("beeper", isNew ? now_ms + CLICK_MS : now_ms, "");
  for (std::size_t i = 0; i < keys.size(); ++i) {
    const std::string key = std::to_string(i + 1);
    spans_.Set("front key " + key, now_ms, keys[i] == json(true) ? key : "");
  }
}

// --- Answers

std::string History::Overview(std::int64_t after_ms) {
  using namespace std::chrono;
  const std::int64_t now_ms = Now_ms();
  const auto wall = duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
  std::unique_lock lock(mutex_);
  NoteSilence(now_ms);
  const auto places = screens_.Places();
  const std::int64_t from_ms = std::max(now_ms - HISTORY_MS, places.empty() ? now_ms : places.front().begin_ms);
  const ValueRing values = values_;
  const bool asMetric = isMetric_;
  json answer = {{"recorded", false},
                 {"begin", wall - now_ms},
                 {"from", from_ms},
                 {"end", now_ms},
                 {"units", asMetric ? "metric" : "imperial"},
                 {"screens", json::array()},
                 {"bands", spans_.MakeRows(std::max(after_ms, from_ms), now_ms)}};
  lock.unlock();
  for (const auto& [number, begin_ms] : places)
    answer["screens"].push_back({{"number", number}, {"begin", begin_ms}});
  answer["curves"] = values.MakeCurves(std::max(after_ms, from_ms), asMetric);
  return base::DumpJson(answer);
}

std::string History::Screens(std::uint64_t number) {
  std::function<std::string()> chunk;
  {
    const std::lock_guard lock(mutex_);
    const std::int64_t now_ms = Now_ms();
    NoteSilence(now_ms);
    chunk = screens_.Find(number, now_ms);
  }
  return chunk ? chunk() : std::string();
}

}  // namespace unit
