// The screen design: one SVG document for each page, with elements that follow widgets and variables.
//
// docs/screen-design.md describes the attributes of an element. Only one thread at a time may use a document.
#pragma once

#include <array>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <pugixml.hpp>

#include "unit/screen/design/palette.h"
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
  std::string widget;                  // the widget whose text it shows
  std::string background;              // the widget whose background it shows
  std::vector<std::string> variables;  // of several the greatest known value counts
  std::string known;                   // shown only while this widget's text has a digit
  std::string word;                    // key of a word of the operator's language
  ValueRule words;                     // such a key by value
  ValueRule show, hide, text, flash;
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
  bool HasWord() const { return !word.empty() || !words.Empty(); }
};

// A page in the colours of one look.
struct page_look_t {
  std::unique_ptr<pugi::xml_document> document;
  std::vector<live_element_t> elements;
  pugi::xml_node compositor;  // null when the page has no layer of drawings
};

struct page_design_t {
  std::filesystem::path file;
  std::string name;    // "Main"
  std::string action;  // posted while the page is shown: "Page.Main"
  std::string title;
  int order = 0;                                   // the page of the lowest order is shown first
  std::map<std::string, std::string> transitions;  // event name to page name
  std::string lostLinkPage;                        // shown while the link is lost; empty: this page
  std::map<std::string, std::string> notices;      // variable to the action posted when its value changes
  std::array<page_look_t, LOOKS> looks;
};

// What all pages of a folder share.
struct design_base_t {
  palette_t palette;
  std::unique_ptr<pugi::xml_document> parts = std::make_unique<pugi::xml_document>();
};

using design_t = std::map<std::string, page_design_t>;  // by name

// Reads one page. `widgets` has the names of all widgets. Throws std::runtime_error with the file's name, the
// element and the problem.
page_design_t ReadPage(const std::filesystem::path& file, const std::set<std::string>& widgets,
                       const design_base_t& base = {});

// Reads every *.svg file of a folder but the parts. Adds a line to `problems` for each file that it cannot
// read, and leaves that page out.
design_t ReadDesign(const std::filesystem::path& folder, const std::set<std::string>& widgets,
                    std::vector<std::string>& problems);

// The element as a document's text, without a declaration.
std::string FormatXml(const pugi::xml_node& node);

// What is wrong with the page beside the other pages: a transition to a page that is not among `names`, an
// order that is taken. Empty when nothing is; one line, with the page's file, otherwise.
std::string CheckPage(const page_design_t& page, const std::set<std::string>& names,
                      const std::map<int, std::string>& orders);

// One line for each page that CheckPage finds a mistake in.
std::vector<std::string> CheckDesign(const design_t& design);

// The keys of the words that the pages use.
std::set<std::string> WordsUsed(const design_t& design);

}  // namespace unit
