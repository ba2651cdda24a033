#include "host/report/traffic_report.h"

#include <algorithm>
#include <cmath>

#include <nlohmann/json.hpp>

#include "host/protocol/field_codecs.h"
#include "host/protocol/message_lines.h"
#include "host/protocol/value_text.h"
#include "src/core/frame_layout.h"

namespace host::report {
namespace {

using nlohmann::json;

// Without a message for so long the display shows no values, and this report no lamps.
constexpr std::int64_t SILENCE_MS = 10'000;
// Operating values and other stations' frames change with every message: one is listed in so much time.
constexpr std::int64_t LIST_PERIOD_MS = 1'000;
constexpr std::size_t MOST_KINDS = 4096;

constexpr double KGS_PER_LB = 0.45359237;
constexpr double METERS_PER_FOOT = 0.3048;
constexpr unsigned IMPERIAL = 0;
constexpr unsigned METRIC = 1;

// The rows of the lamps that warn. Several lamps may share a row.
struct lamp_row_t {
  std::string_view lamp;
  const char* row;
  std::string_view label;
};
constexpr std::array<lamp_row_t, 8> LAMP_ROWS = {{{"overload", "overload", "overload"},
                                                  {"prealarm", "prealarm", "near limit"},
                                                  {"a2b", "two-block", "two-block"},
                                                  {"alarm", "alarm", "alarm"},
                                                  {"angle-alarm-tripped", "angle limit", "angle"},
                                                  {"radius-alarm-tripped", "radius limit", "radius"},
                                                  {"extension-alarm-tripped", "extension limit", "extension"},
                                                  {"swing-alarm-tripped", "swing limit", "swing"}}};

// The lamps that say how the crane is rigged and which limits are set.
constexpr std::array<std::string_view, 21> RIGGING_LAMPS = {
    "tires",           "outrigger-retracted", "outrigger-half",  "outrigger-extended", "counterweight",
    "stowed",          "jib-long-fly-0",      "jib-short-fly-0", "jib-long-fly-15",    "jib-short-fly-15",
    "jib-long-fly-30", "jib-short-fly-30",    "aux-head",        "pick-main-boom",     "pick-aux",
    "pick-fly",        "man-basket",          "angle-alarm-set", "radius-alarm-set",   "extension-alarm-set",
    "swing-alarm-set"};

// The host sends its swing as a whole number, which has no NaN: one beyond a turn is not known.
constexpr double MOST_SWING = 360;

bool IsLit(std::uint32_t lamps, std::string_view name) {
  const auto bit = std::ranges::find(LampNames(), name) - LampNames().begin();
  return (lamps >> static_cast<unsigned>(bit) & 1U) != 0;
}

// With blanks between.
std::string RiggingOf(std::uint32_t lamps) {
  std::string rigging;
  for (const std::string_view lamp : RIGGING_LAMPS) {
    if (IsLit(lamps, lamp)) rigging.append(rigging.empty() ? "" : " ").append(lamp);
  }
  return rigging;
}

// What a value of `from` units is multiplied with to be one of `to` units.
double Conversion(unit_t unit, unsigned from, unsigned to) {
  if (from == to || (unit != unit_t::WEIGHT && unit != unit_t::LENGTH)) return 1;
  const double metric = unit == unit_t::WEIGHT ? KGS_PER_LB : METERS_PER_FOOT;
  return to == METRIC ? metric : 1 / metric;
}

std::string KindOf(const bus_message_t& message) {
  if (message.sender == sender_t::OTHER) return std::to_string(message.frame.identifier);
  return std::string(SenderName(message.sender)) + message.decoded.command + message.decoded.name;
}

}  // namespace

void TrafficReport::Accept(const bus::frame_t& frame, std::int64_t time_ms) {
  if (frame.extended && frame.identifier == HOST_FRAME_ID) NoteSilence(time_ms);
  const auto message = decoder_.Accept(frame);
  broken_.Note(time_ms, decoder_.Host().broken + decoder_.Host().tooLong);
  if (!message) return;
  if (message->sender == sender_t::HOST) NoteHost(*message, time_ms);
  if (message->sender == sender_t::DISPLAY) NoteReply(*message, time_ms);
  List(*message, time_ms);
}

void TrafficReport::Accept(const bus::key_change_t& change, std::int64_t time_ms) {
  const std::string key = std::to_string(change.key);
  bands_.Set("front key " + key, time_ms, change.down ? key : "");
}

void TrafficReport::NoteSilence(std::int64_t time_ms) {
  if (time_ms - lastHost_ms_ > SILENCE_MS) {
    NoteLamps(0, lastHost_ms_ + SILENCE_MS);
    lamps_.reset();
    overloads_.NoteSilence();
  }
  lastHost_ms_ = time_ms;
}

void TrafficReport::NoteHost(const bus_message_t& message, std::int64_t time_ms) {
  const command_t* command = FindCommand(message.bytes);
  if (command == nullptr || !message.decoded.problem.empty()) return;
  if (command == &OperatingValuesCommand()) return NoteValues(message, time_ms);
  if (command->name == "units") return NoteUnits(message.bytes[2]);
  if (command->name == "language" && !message.decoded.values.empty()) {
    bands_.Set("language", time_ms, message.decoded.values[0].text);
  }
}

void TrafficReport::NoteUnits(unsigned units) {
  if (units <= METRIC) units_ = units;
}

void TrafficReport::NoteValues(const bus_message_t& message, std::int64_t time_ms) {
  const command_t& command = OperatingValuesCommand();
  curve_values_t values{};
  double percent = std::nan("");
  if (!firstUnits_) {
    takesUnits_ = !units_;
    firstUnits_ = units_.value_or(IMPERIAL);
  }
  for (std::size_t i = 0; i < CURVES.size(); ++i) {
    const field_t& field = *FindField(command, CURVES[i].name);
    const double factor = Conversion(field.unit, units_.value_or(IMPERIAL), *firstUnits_);
    values[i] = ReadNumber(field, message.bytes) * factor;
    if (field.unit == unit_t::PERCENT) percent = values[i];
    if (field.name == "swing" && std::abs(values[i]) > MOST_SWING) values[i] = std::nan("");
  }
  curves_.Add(time_ms, values);
  const auto lamps = static_cast<std::uint32_t>(ReadNumber(*FindField(command, "led"), message.bytes));
  lampsChanged_ = lamps_ != lamps;
  lamps_ = lamps;
  if (lampsChanged_) NoteLamps(lamps, time_ms);
  overloads_.NoteValues(time_ms, IsLit(lamps, "overload"), percent);
}

void TrafficReport::NoteLamps(std::uint32_t lamps, std::int64_t time_ms) {
  for (const lamp_row_t& row : LAMP_ROWS) bands_.Set(row.row, time_ms, IsLit(lamps, row.lamp) ? row.label : "");
  bands_.Set("rigging", time_ms, RiggingOf(lamps));
}

// The key that the display tells the host, until its next reply.
void TrafficReport::NoteReply(const bus_message_t& message, std::int64_t time_ms) {
  if (message.request == nullptr || message.request->name != "key-state") return;
  for (const value_t& value : message.decoded.values) {
    if (value.name == "key") bands_.Set("key reported", time_ms, value.text == "none" ? "" : value.text);
  }
}

bool TrafficReport::IsToList(const bus_message_t& message, const std::string& words, std::int64_t time_ms) {
  if (listed_.size() > MOST_KINDS) listed_.clear();
  const auto [last, isNew] = listed_.try_emplace(KindOf(message), listed_message_t{words, time_ms});
  if (isNew) return true;
  if (last->second.words == words) return false;
  const bool isValues =
      message.sender == sender_t::HOST && message.decoded.name == OperatingValuesCommand().name;
  const bool isFrequent = message.sender == sender_t::OTHER || (isValues && !lampsChanged_);
  if (isFrequent && time_ms < last->second.time_ms + LIST_PERIOD_MS) return false;
  last->second = {words, time_ms};
  return true;
}

void TrafficReport::List(const bus_message_t& message, std::int64_t time_ms) {
  const std::string line = FormatWatchLine(message);
  const std::string words = message.sender == sender_t::OTHER ? line : FormatMessage(message.decoded);
  if (!IsToList(message, words, time_ms)) return;
  messages_.Add(time_ms, SenderName(message.sender), message.decoded.command, words);
}

void TrafficReport::Finish(std::int64_t time_ms, json& index) {
  if (time_ms - lastHost_ms_ > SILENCE_MS) NoteLamps(0, lastHost_ms_ + SILENCE_MS);
  index["bands"].update(bands_.Finish(time_ms));
  index["curves"] = curves_.Finish();
  index["messages"] = messages_.Finish();
  index["units"] = firstUnits_ ? json(*firstUnits_) : json(nullptr);
  index["frames"] = decoder_.Counts().frames;
  index["figures"]["overloads"] = overloads_.ToJson();
  index["figures"]["twoBlocks"] = SpanFigures(bands_.Spans("two-block"));
  index["figures"]["broken"] = broken_.ToJson();
}

}  // namespace host::report
