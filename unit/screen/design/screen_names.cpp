#include "unit/screen/design/screen_names.h"

#include <algorithm>
#include <stdexcept>

#include <pugixml.hpp>

#include "platform/byte_order.h"

namespace unit {

namespace {

screen_names_t ReadNames(const pugi::xml_node& root) {
  screen_names_t names;
  names.actionChannel = root.child("Actions").attribute("channel").value();
  names.eventChannel = root.child("Events").attribute("channel").value();
  for (const auto& node : root.child("Actions").children("Action")) {
    names.actions.emplace(node.attribute("name").value(), node.attribute("id").as_uint());
  }
  for (const auto& node : root.child("Events").children("Event")) {
    names.events.emplace(node.attribute("id").as_uint(), node.attribute("name").value());
  }
  for (const auto& node : root.child("ScreenApi").children("Object")) {
    names.widgets.emplace(node.attribute("id").as_int(), node.attribute("name").value());
  }
  for (const auto& node : root.child("Variables").children("Variable")) {
    names.variables.emplace(node.attribute("name").value(), node.attribute("var").value());
  }
  return names;
}

}  // namespace

screen_names_t ReadScreenNames(const std::string& genericFile) {
  pugi::xml_document document;
  const pugi::xml_parse_result result = document.load_file(genericFile.c_str());
  const pugi::xml_node root = document.child("orvik-generic");
  if (result && root) return ReadNames(root);
  const std::string problem = result ? "the file has no <orvik-generic>" : result.description();
  throw std::runtime_error(genericFile + ": " + problem + ". Name the generic configuration with --config.");
}

std::array<std::uint8_t, 8> ActionMessage(int channel, std::uint32_t action) {
  std::array<std::uint8_t, 8> message{};
  platform::StoreLe32(message, 0, static_cast<std::uint32_t>(channel));
  platform::StoreLe32(message, 4, action);
  return message;
}

std::set<std::string> WidgetNames(const screen_names_t& names) {
  std::set<std::string> widgets;
  for (const auto& [handle, name] : names.widgets) widgets.insert(name);
  return widgets;
}

std::string FaultVariable(std::size_t line, const char* part) {
  return "Fault" + std::to_string(line + 1) + "." + part;
}

bool IsOwnVariable(const std::string& name) {
  if (name == DATA_STATE_VARIABLE || name == FAULT_STATE_VARIABLE || name == FAULT_NUMBER_VARIABLE) return true;
  if (std::ranges::find(FAULT_LAMP_VARIABLES, name) != FAULT_LAMP_VARIABLES.end()) return true;
  for (std::size_t line = 0; line < FAULT_LINES; ++line) {
    for (const char* part : {FAULT_SOURCE, FAULT_SPN, FAULT_FMI, FAULT_COUNT}) {
      if (name == FaultVariable(line, part)) return true;
    }
  }
  return false;
}

}  // namespace unit
