// The appearance of a live element for its widget and its value.
#pragma once

#include <array>
#include <map>
#include <optional>
#include <string>

#include "unit/screen/design/design.h"
#include "unit/screen/design/word_catalogue.h"

namespace unit {

using color_t = std::array<float, 4>;  // red, green, blue, alpha, 0 to 1

// A text widget. It keeps its state whatever page is shown.
struct widget_t {
  std::string name;
  std::optional<std::string> text;  // empty until the first text arrives
  std::optional<align_t> align;
  std::optional<std::array<int, 2>> position;  // left end of its place on the base line, in pixels
  std::array<float, 3> rotation{};             // degrees, centre x, centre y
  bool shown = true;
  std::optional<color_t> color, background;
};

struct element_input_t {
  const widget_t* widget = nullptr;      // null: the element follows none
  const widget_t* background = nullptr;  // the widget whose background the element shows; may be null
  const widget_t* known = nullptr;       // the widget without whose number it is hidden
  const words_t* words = nullptr;        // of the operator's language; null: the design's own texts
  variable_value_t value;
  bool current = true;  // false: the data on the screen are old
};

// The part of an element that changes. An attribute without a value is removed.
struct element_view_t {
  std::map<std::string, std::optional<std::string>> attributes;
  std::optional<std::vector<text_run_t>> text;  // empty: the content of the design

  bool operator==(const element_view_t&) const = default;
};

element_view_t MakeView(const live_element_t& element, const element_input_t& input);

// Writes the view into the page's document.
void ApplyView(const live_element_t& element, const element_view_t& view);

// Formats a number for SVG, with at most `decimals` decimals and no trailing zeros.
std::string FormatPixels(double value, int decimals = 2);
// "rgba(255,0,0,0.5)". Limits each part to 0 to 1.
std::string FormatColor(const color_t& color);

}  // namespace unit
