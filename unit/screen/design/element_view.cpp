#include "unit/screen/design/element_view.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace unit {
namespace {

// Dashes and names of areas are no number.
bool HasNumber(const widget_t* widget) {
  return widget != nullptr && widget->text && widget->text->find_first_of("0123456789") != std::string::npos;
}

bool IsHidden(const live_element_t& element, const element_input_t& input, const variable_value_t& value) {
  if (input.widget != nullptr && !input.widget->shown) return true;
  if (!element.known.empty() && !HasNumber(input.known)) return true;
  if (!element.hide.Empty() && element.hide.Choose(value) != nullptr) return true;
  return element.show.Empty() ? element.baseHidden : element.show.Choose(value) == nullptr;
}

void AddProperty(std::string& style, const std::string& property, const std::string& value) {
  if (!style.empty() && style.back() != ';') style += ';';
  style += property + ":" + value;
}

std::optional<std::string> StyleOf(const live_element_t& element, const element_input_t& input,
                                   const variable_value_t& value) {
  std::string style = element.baseStyle;
  for (const auto& [property, rule] : element.styles) {
    if (const std::string* chosen = rule.Choose(value)) AddProperty(style, property, *chosen);
  }
  if (input.widget != nullptr && input.widget->color)
    AddProperty(style, "fill", FormatColor(*input.widget->color));
  if (input.background != nullptr && input.background->background) {
    AddProperty(style, "fill", FormatColor(*input.background->background));
  }
  return style.empty() ? std::nullopt : std::optional(style);
}

std::string Rotate(double degrees, double x, double y) {
  return "rotate(" + FormatPixels(degrees) + " " + FormatPixels(x) + " " + FormatPixels(y) + ")";
}

std::string TransformOf(const live_element_t& element, const widget_t& widget) {
  std::string transform;
  if (widget.position) {
    const double y = element.node.attribute("y").as_double();
    transform += "translate(" + FormatPixels((*widget.position)[0] - element.place.x) + " " +
                 FormatPixels((*widget.position)[1] - y) + ") ";
  }
  const auto& [degrees, x, y] = widget.rotation;
  if (degrees != 0) transform += Rotate(degrees, x, y) + " ";
  return transform;
}

std::optional<std::string> TransformOf(const live_element_t& element, const element_input_t& input,
                                       const variable_value_t& value) {
  std::string transform = input.widget != nullptr ? TransformOf(element, *input.widget) : std::string();
  transform += element.baseTransform;
  if (element.turn && value) {
    transform +=
        " " + Rotate(std::fmod(*value * element.turn->factor, 360.0), element.turn->x, element.turn->y);
  }
  return transform.empty() ? std::nullopt : std::optional(transform);
}

std::string BarWidth(const bar_t& bar, const variable_value_t& value) {
  if (!value) return "0";
  return FormatPixels(bar.width * std::clamp((*value - bar.low) / (bar.high - bar.low), 0.0, 1.0));
}

// The design's own text stands where the language has no such word, or no catalogue was read.
std::string WordFor(const live_element_t& element, const element_input_t& input, const std::string& key) {
  if (key.empty()) return {};
  if (input.words == nullptr) return element.baseText;
  const auto word = input.words->find(key);
  return word != input.words->end() ? word->second : element.baseText;
}

std::string TextByValue(const live_element_t& element, const element_input_t& input,
                        const variable_value_t& value) {
  if (!element.word.empty()) return WordFor(element, input, element.word);
  if (const std::string* key = element.words.Choose(value)) return WordFor(element, input, *key);
  if (!value && element.stale) return *element.stale;
  // A text by value comes before the number: it says what no number can, that the value is out of range.
  if (const std::string* chosen = element.text.Empty() ? nullptr : element.text.Choose(value)) return *chosen;
  if (!element.format.Empty() && value) return element.format.Apply(*value * element.scale);
  return element.baseText;
}

void ViewWidgetText(element_view_t& view, const live_element_t& element, const element_input_t& input) {
  const bool old = element.stale && !input.current;
  const std::string text = old ? *element.stale : input.widget->text.value_or(element.baseText);
  text_layout_t layout = LayOut(text, element.place, input.widget->align.value_or(element.align));
  view.attributes["text-anchor"] = layout.anchor;
  // Each run of a text in cells has its own x.
  if (element.place.cells == 0) view.attributes["x"] = FormatPixels(layout.x);
  if (element.place.cells > 0) view.attributes["aria-label"] = text;
  view.text = std::move(layout.runs);
}

void ViewText(element_view_t& view, const live_element_t& element, const element_input_t& input,
              const variable_value_t& value) {
  if (!element.IsText()) return;
  if (input.widget != nullptr) {
    ViewWidgetText(view, element, input);
  } else if (!element.text.Empty() || !element.format.Empty() || element.HasWord()) {
    view.text = std::vector<text_run_t>{{{}, {}, TextByValue(element, input, value)}};
  }
}

void SetAttribute(pugi::xml_node node, const std::string& name, const std::optional<std::string>& value) {
  if (!value) {
    node.remove_attribute(name.c_str());
    return;
  }
  pugi::xml_attribute attribute = node.attribute(name.c_str());
  if (!attribute) attribute = node.append_attribute(name.c_str());
  attribute.set_value(value->c_str());
}

void AppendRun(pugi::xml_node node, const text_run_t& run) {
  if (!run.x) {
    node.append_child(pugi::node_pcdata).set_value(run.text.c_str());
    return;
  }
  pugi::xml_node span = node.append_child("tspan");
  span.append_attribute("x").set_value(FormatPixels(*run.x).c_str());
  if (run.fontSize) span.append_attribute("font-size").set_value(FormatPixels(*run.fontSize).c_str());
  span.append_child(pugi::node_pcdata).set_value(run.text.c_str());
}

}  // namespace

std::string FormatPixels(double value, int decimals) {
  if (!std::isfinite(value)) return "0";
  std::array<char, 48> text{};
  const double scale = std::pow(10.0, decimals);
  const double limited = std::clamp(value, -1e6, 1e6);
  static_cast<void>(
      std::snprintf(text.data(), text.size(), "%.*f", decimals, std::round(limited * scale) / scale + 0.0));
  std::string number = text.data();
  if (decimals > 0) number.erase(number.find_last_not_of('0') + 1);
  if (number.back() == '.') number.pop_back();
  return number;
}

std::string FormatColor(const color_t& color) {
  const auto part = [&](std::size_t i) {
    return std::isfinite(color.at(i)) ? std::clamp(static_cast<double>(color.at(i)), 0.0, 1.0) : 0.0;
  };
  std::string text = "rgba(";
  for (std::size_t i = 0; i < 3; ++i) text += FormatPixels(std::round(part(i) * 255)) + ",";
  return text + FormatPixels(part(3)) + ")";
}

element_view_t MakeView(const live_element_t& element, const element_input_t& input) {
  const bool unknown = element.stale && !input.current;
  const variable_value_t value = unknown ? std::nullopt : input.value;
  element_view_t view;
  view.attributes["display"] =
      IsHidden(element, input, value) ? std::optional<std::string>("none") : std::nullopt;
  view.attributes["style"] = StyleOf(element, input, value);
  view.attributes["transform"] = TransformOf(element, input, value);
  if (element.bar) view.attributes["width"] = BarWidth(*element.bar, value);
  if (!element.flash.Empty()) {
    const std::string* rate = element.flash.Choose(value);
    view.attributes["data-flashing"] = rate != nullptr ? std::optional(*rate) : std::nullopt;
  }
  ViewText(view, element, input, value);
  return view;
}

void ApplyView(const live_element_t& element, const element_view_t& view) {
  pugi::xml_node node = element.node;
  for (const auto& [name, value] : view.attributes) SetAttribute(node, name, value);
  if (!view.text) return;
  node.remove_children();
  for (const text_run_t& run : *view.text) AppendRun(node, run);
}

}  // namespace unit
