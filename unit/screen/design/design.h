// The screen design: one SVG document a page, and its elements that follow widgets and variables.
//
// docs/screen-design.md describes what an element may carry. A document belongs to one thread at a time.
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <pugixml.hpp>

#include "unit/screen/design/text_layout.h"
#include "unit/screen/design/value_rule.h"

namespace unit {

constexpr double SCREEN_WIDTH = 640;
constexpr double SCREEN_HEIGHT = 480;
constexpr const char* COMPOSITOR_ELEMENT = "compositor-layer";

struct turn_t {
  double factor = 0;  // degrees clockwise for each 1 of the value
  double x = 0, y = 0;
};

struct bar_t {
  double low = 0, high = 0;  // values of no and of full width
  double width = 0;          // full width, pixels
};

// An element that changes, with what the design says about it.
struct live_element_t {
  pugi::xml_node node;
  std::string id;
  std::string widget;      // the widget whose text it shows
  std::string background;  // the widget whose background it is
  std::string variable;
  ValueRule show, text, flash;
  std::vector<std::pair<std::string, ValueRule>> styles;  // style property, by value
  ValueFormat format;
  double scale = 1;
  std::optional<turn_t> turn;
  std::optional<bar_t> bar;
  std::optional<std::string> stale;  // set: not current data are as an unknown value, and this is the text
  text_place_t place;
  align_t align = align_t::LEFT;  // until a message says otherwise

  // As the design has them.
  std::string baseText, baseStyle, baseTransform;
  bool baseHidden = false;

  bool IsText() const { return std::string_view(node.name()) == "text"; }
};

struct page_t {
  std::string name;    // "Main"
  std::string action;  // the action posted while it is shown, "Page.Main"
  std::string title;
  int order = 0;                                   // the page of the lowest order is shown first
  std::map<std::string, std::string> transitions;  // event name to page name
  std::map<std::string, std::string> notices;      // variable to the action posted when its value changes
  std::unique_ptr<pugi::xml_document> document;
  std::vector<live_element_t> elements;
  pugi::xml_node compositor;  // null when the page has no layer of drawings
};

using design_t = std::map<std::string, page_t>;  // by name

// Reads one page. `widgets` are the names of all widgets. Throws std::runtime_error with the file's name, the
// element and what is wrong with it.
page_t LoadPage(const std::filesystem::path& file, const std::set<std::string>& widgets);

// Reads every *.svg of a folder. A file that cannot be read is reported through `problems` and left out.
design_t LoadDesign(const std::filesystem::path& folder, const std::set<std::string>& widgets,
                    std::vector<std::string>& problems);

// Transitions to pages that do not exist, two pages of one action or order: what is wrong with the whole.
std::vector<std::string> CheckDesign(const design_t& design);

}  // namespace unit
