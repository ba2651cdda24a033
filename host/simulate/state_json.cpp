#include "host/simulate/state_json.h"

#include <array>
#include <cmath>

#include <nlohmann/json.hpp>

#include "base/json_text.h"
#include "host/protocol/errors.h"
#include "host/protocol/protocol.h"

namespace simulate {
namespace {

using json = nlohmann::json;

json Known(double value) {
  return std::isfinite(value) ? json(value) : json(nullptr);
}

json CraneJson(const simulation_state_t& state) {
  const measured_t& now = state.measured;
  return {{"angle", Known(now.angle)},
          {"length", state.length},
          {"extension", Known(now.extension)},
          {"radius", Known(now.radius)},
          {"swing", Known(now.swing)},
          {"hook", state.hookHeight},
          {"head", state.sheaveHeight},
          {"load", Known(now.load)},
          {"net_load", state.netLoad},
          {"capacity", Known(now.capacity)},
          {"percent", Known(now.percent)},
          {"piston", Known(now.piston)},
          {"rod", Known(now.rod)},
          {"wind", state.wind},
          {"at_rest", state.atRest}};
}

json RiggingJson(const simulation_state_t& state) {
  const crane::rigging_t& rigging = state.rigging;
  return {{"base", crane::NameOf(crane::BASE_NAMES, state.base)},
          {"base_moves", state.baseMoves},
          {"counterweight", rigging.counterweight},
          {"jib", crane::NameOf(crane::JIB_NAMES, rigging.jib)},
          {"pick", crane::NameOf(crane::PICK_NAMES, rigging.pick)},
          {"winch", crane::NameOf(crane::WINCH_NAMES, rigging.winch)},
          {"aux_head", rigging.auxHead},
          {"man_basket", rigging.manBasket},
          {"boom_mode", rigging.manualBoom ? "manual" : "together"},
          {"parts", rigging.parts}};
}

json LimitsJson(const simulation_state_t& state) {
  json limits = json::object();
  for (std::size_t i = 0; i < state.limits.size(); ++i) {
    const crane::limit_t& limit = state.limits[i];
    limits[std::string(crane::QUANTITY_NAMES[i])] = {
        {"least", limit.least ? json(*limit.least) : json(nullptr)},
        {"most", limit.most ? json(*limit.most) : json(nullptr)}};
  }
  return limits;
}

// What a drawing of the crane needs, in metres.
json MeasuresJson(const crane::rigging_t& rigging) {
  const crane::measures_t& measures = crane::MEASURES;
  const bool isErected = crane::IsErected(rigging.jib);
  return {{"foot_height", measures.footHeight},
          {"foot_behind", measures.footBehind},
          {"shortest", measures.shortest},
          {"longest", measures.longest},
          {"aux", rigging.auxHead ? measures.auxReach : 0},
          {"jib", !isErected                   ? 0
                  : crane::IsLong(rigging.jib) ? measures.longFly
                                               : measures.shortFly},
          {"jib_offset", crane::OffsetOf(rigging.jib)}};
}

json CurveJson(const std::vector<crane::rated_point_t>& curve) {
  json points = json::array();
  for (const crane::rated_point_t& point : curve) points.push_back({point.radius, std::round(point.capacity)});
  return points;
}

// The ranges of the panel's sliders.
json RangesJson() {
  constexpr double MOST_SWING = 180;
  constexpr double MOST_LOAD = 50'000;
  constexpr double MOST_HOOK = 40;
  return {{"angle", {crane::MEASURES.leastAngle, crane::MEASURES.mostAngle}},
          {"length", {crane::MEASURES.shortest, crane::MEASURES.longest}},
          {"swing", {-MOST_SWING, MOST_SWING}},
          {"load", {0, MOST_LOAD}},
          {"hoist", {0, MOST_HOOK}}};
}

std::string NameOfNumber(std::string_view command, unsigned number) {
  return std::string(host::NameOf(host::FindCommand(command)->fields[0].names, number));
}

json ParseJsonObject(const std::string& body) {
  json parsed = json::parse(body, nullptr, false);
  if (!parsed.is_object()) throw host::UsageError(R"(the body must be a JSON object, such as {"angle":45})");
  return parsed;
}

struct control_row_t {
  const char* name;
  const char* action;
};
constexpr std::array<control_row_t, 5> CONTROLS = {{{"angle", "boom angle"},
                                                    {"length", "boom length"},
                                                    {"swing", "swing"},
                                                    {"load", "load"},
                                                    {"hoist", "hoist"}}};

crane_action_t ParseControl(const std::string& name, const json& value) {
  for (const control_row_t& control : CONTROLS) {
    if (name != control.name) continue;
    if (!value.is_number()) throw host::UsageError(name + " takes a number");
    return ParseAction(SplitWords(std::string(control.action) + " " + base::DumpJson(value)));
  }
  throw host::UsageError("\"" + name +
                         "\" is not a control; the controls are angle, length, swing, load and hoist");
}

}  // namespace

std::string StateJson(const simulation_state_t& state, std::span<const std::string> scenarios) {
  json texts = json::object();
  for (const auto& [field, text] : state.texts) texts[field] = text;
  const json all = {{"time", state.time_s},
                    {"scenario", state.scenario},
                    {"scenarios", scenarios},
                    {"crane", CraneJson(state)},
                    {"configuration", RiggingJson(state)},
                    {"measures", MeasuresJson(state.rigging)},
                    {"curve", CurveJson(state.curve)},
                    {"limits", LimitsJson(state)},
                    {"lamps", state.lamps},
                    {"language", NameOfNumber("language", state.settings.language)},
                    {"units", NameOfNumber("units", static_cast<unsigned>(state.settings.units))},
                    {"swing_shown", SWING_SHOWN_NAMES[static_cast<std::size_t>(state.settings.swing)]},
                    {"view", VIEW_NAMES[static_cast<std::size_t>(state.view)]},
                    {"info_page", state.infoPage},
                    {"texts", texts},
                    {"silent", state.silent},
                    {"faults", {{"available", SENSOR_FAULT_NAMES}, {"present", state.faults}}},
                    {"ranges", RangesJson()},
                    {"display", {{"replies", state.replies}, {"file_id", state.displayFileId}}}};
  return base::DumpJson(all);
}

simulation_command_t ReadDo(const std::string& body, const ConfigFiles& files) {
  const json request = ParseJsonObject(body);
  if (request.size() != 1 || !request.contains("do") || !request["do"].is_string()) {
    throw host::UsageError(R"(the body must be {"do":"ACTION"}, such as {"do":"boom angle 45"})");
  }
  return ParseSimulationCommand(request["do"].get<std::string>(), files);
}

simulation_command_t ReadControls(const std::string& body) {
  const json request = ParseJsonObject(body);
  manual_control_t byHand;
  for (const auto& [name, value] : request.items()) byHand.actions.push_back(ParseControl(name, value));
  if (byHand.actions.empty()) throw host::UsageError(R"(name a control, such as {"angle":45})");
  return byHand;
}

}  // namespace simulate
