#include "film/display/screen_film.h"

#include <array>
#include <charconv>
#include <cmath>

#include "film/display/record_text.h"

namespace film {
namespace {

std::string NumberText(const unit::variable_value_t& value) {
  if (!value || !std::isfinite(*value)) return "null";
  std::array<char, 32> text{};
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), *value).ptr};
}

std::string TextOrNull(const std::optional<std::string>& text) {
  return text ? RecordText::Quote(*text) : "null";
}

// {"a":1,"b":2} of pairs whose second part `format` writes.
template <class Map, class Format>
std::string ObjectOf(const Map& map, Format format) {
  std::string text = "{";
  for (const auto& [name, value] : map) {
    if (text.size() > 1) text += ',';
    text += RecordText::Quote(name) + ':' + format(value);
  }
  return text + '}';
}

std::string ElementJson(const unit::element_change_t& element) {
  std::string text = "[" + RecordText::Quote(element.id) + ',' + ObjectOf(element.attributes, TextOrNull);
  return text + (element.content ? ',' + RecordText::Quote(*element.content) : "") + ']';
}

}  // namespace

// Only the elements that differ from when the page was shown last.
std::string ScreenFilm::ElementsJson(const std::vector<unit::element_change_t>& elements, page_t& page) {
  std::string text = "[";
  for (const unit::element_change_t& element : elements) {
    element_t now{element.attributes, element.content};
    element_t& before = page[element.id];
    if (before == now) continue;
    before = std::move(now);
    if (text.size() > 1) text += ',';
    text += ElementJson(element);
  }
  return text + ']';
}

std::optional<std::string> ScreenFilm::Write(std::int64_t time_ms, unit::ScreenModel& model) {
  const unit::screen_change_t change = model.DrainChange();
  if (change.revision == change.previous) return {};
  RecordText record(time_ms);
  const auto [page, isNew] = pages_.try_emplace({model.Page().name, model.Look()});
  if (change.page || isNew) {
    record.AddText("page", model.Page().name).AddText("title", model.Page().title);
    record.AddText("look", model.Look() == unit::LOOK_NIGHT ? "night" : "day");
    const std::string elements = ElementsJson(model.PageElements(), page->second);
    if (isNew) {
      record.AddText("svg", model.Svg());
    } else {
      record.AddJson("elements", elements);
    }
  } else if (!change.elements.empty()) {
    record.AddJson("elements", ElementsJson(change.elements, page->second));
  }
  if (!change.widgets.empty()) record.AddJson("widgets", ObjectOf(change.widgets, RecordText::Quote));
  if (!change.variables.empty()) record.AddJson("variables", ObjectOf(change.variables, NumberText));
  return std::move(record).Take();
}

}  // namespace film
