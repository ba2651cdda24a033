#include "host/protocol/message_json.h"

#include <cmath>

#include <nlohmann/json.hpp>

#include "base/json_text.h"
#include "host/protocol/message_lines.h"

namespace host {
namespace {

using Json = nlohmann::ordered_json;

constexpr double MICROS_PER_SECOND = 1e6;

Json ValueJson(const value_t& value) {
  if (!value.parts.empty()) return value.parts;
  if (value.number && std::isfinite(*value.number)) {
    // A float's shortest decimal form, as in the text; the double itself would print its rounding error.
    const Json number = Json::parse(value.text, nullptr, false);
    return number.is_number() ? number : Json(*value.number);
  }
  return value.text;
}

void Add(Json& values, const std::string& name, Json value) {
  if (!values.contains(name)) {
    values[name] = std::move(value);
    return;
  }
  Json& held = values[name];
  if (!held.is_array()) held = Json::array({held});
  held.push_back(std::move(value));
}

void AddFrame(Json& line, const bus::frame_t& frame) {
  line["identifier"] = frame.identifier;
  line["extended"] = frame.extended;
  line["data"] = frame.Bytes();
}

void AddMessage(Json& line, const decoded_t& decoded) {
  line["command"] = decoded.command;
  line["name"] = decoded.name;
  Json values = Json::object();
  for (const value_t& value : decoded.values) {
    Add(values, value.name.empty() ? decoded.name : value.name, ValueJson(value));
  }
  line["values"] = values;
  if (!decoded.problem.empty()) line["problem"] = decoded.problem;
}

}  // namespace

std::string FormatJsonLine(const bus_message_t& message) {
  Json line;
  line["time"] = static_cast<double>(message.time_us) / MICROS_PER_SECOND;
  line["from"] = SenderName(message.sender);
  if (message.sender == sender_t::OTHER) {
    AddFrame(line, message.frame);
  } else {
    AddMessage(line, message.decoded);
  }
  return base::DumpOrderedJson(line);
}

}  // namespace host
