// The screen design: one SVG document for each page, with elements that follow widgets and variables.
//
// docs/screen-design.md describes the attributes of an element. Only one thread at a time may use a document.
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
  double low = 0, high = 0;  // the values at zero width and at full width
  double width = 0;          // full width, pixels
};

// An element that changes, with the attributes that the design gives it.
struct live_element_t {
  pugi::xml_node node;
  std::string id;
  std::string widget;      // the widget whose text it shows
  std::string background;  // the widget whose background it shows
  std::string variable;
  ValueRule show, text, flash;
  std::vector<std::pair<std::string, ValueRule>> styles;  // style property and the rule for its value
  ValueFormat format;
  double scale = 1;
  std::optional<turn_t> turn;
  std::optional<bar_t> bar;
  std::optional<std::string> stale;  // text while the data are not current; the value is then unknown
  text_place_t place;
  align_t align = align_t::LEFT;  // until a message sets another

  // The attributes as the design has them.
  std::string baseText, baseStyle, baseTransform;
  bool baseHidden = false;

  bool IsText() const { return std::string_view(node.name()) == "text"; }
};

struct page_design_t {
  std::string name;    // "Main"
  std::string action;  // posted while the page is shown: "Page.Main"
  std::string title;
  int order = 0;                                   // the page of the lowest order is shown first
  std::map<std::string, std::string> transitions;  // event name to page name
  std::map<std::string, std::string> notices;      // variable to the action posted when its value changes
  std::unique_ptr<pugi::xml_document> document;
  std::vector<live_element_t> elements;
  pugi::xml_node compositor;  // null when the page has no layer of drawings
};

using design_t = std::map<std::string, page_design_t>;  // by name

// Reads one page. `widgets` has the names of all widgets. Throws std::runtime_error with the file's name, the
// element and the problem.
page_design_t LoadPage(const std::filesystem::path& file, const std::set<std::string>& widgets);

// Reads every *.svg file of a folder. Adds a line to `problems` for each file that it cannot read, and leaves
// that page out.
design_t LoadDesign(const std::filesystem::path& folder, const std::set<std::string>& widgets,
                    std::vector<std::string>& problems);

// Returns the problems of the whole design: transitions to pages that do not exist, two pages of one order.
std::vector<std::string> CheckDesign(const design_t& design);

}  // namespace unit
