#include "unit/screen/service/screen_json.h"

#include <nlohmann/json.hpp>

#include "base/json_text.h"

namespace unit {
namespace {

using nlohmann::json;

json ToJson(const variable_value_t& value) {
  return value ? json(*value) : json(nullptr);
}

json ToJson(const std::map<std::string, variable_value_t>& variables) {
  json result = json::object();
  for (const auto& [name, value] : variables) result[name] = ToJson(value);
  return result;
}

json ToJson(const element_change_t& element) {
  json attributes = json::object();
  for (const auto& [name, value] : element.attributes) attributes[name] = value ? json(*value) : json(nullptr);
  json result = {{"id", element.id}, {"attributes", std::move(attributes)}};
  if (element.content) result["content"] = *element.content;
  return result;
}

}  // namespace

std::string FormatState(const ScreenModel& model) {
  return base::DumpJson({{"revision", model.Revision()},
               {"page", model.Page().name},
               {"action", model.Page().action},
               {"title", model.Page().title},
               {"svg", model.Svg()},
               {"widgets", model.WidgetTexts()},
               {"variables", ToJson(model.Variables())}});
}

std::string FormatChange(const screen_change_t& change, std::size_t limit) {
  json result = {{"revision", change.revision}, {"previous", change.previous}, {"page", change.page}};
  if (!change.page) {
    json elements = json::array();
    for (const element_change_t& element : change.elements) elements.push_back(ToJson(element));
    result["elements"] = std::move(elements);
    result["widgets"] = change.widgets;
    result["variables"] = ToJson(change.variables);
  }
  std::string text = base::DumpJson(result);
  if (text.size() <= limit) return text;
  return base::DumpJson({{"revision", change.revision}, {"previous", change.previous}, {"page", true}});
}

}  // namespace unit
