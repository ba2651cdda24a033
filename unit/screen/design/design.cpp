#include "unit/screen/design/design.h"

#include <algorithm>
#include <array>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include "unit/screen/design/page_parts.h"

namespace unit {
namespace {

namespace fs = std::filesystem;

// librsvg and browsers draw these differently, or one of them ignores them.
constexpr std::size_t MOST_PAGES = 100;
constexpr const char* WHEN_LINK_LOST = "link-lost";
constexpr std::array<std::string_view, 7> REFUSED_ELEMENTS{
    "script", "foreignObject", "animate", "animateTransform", "animateMotion", "set", "textPath"};

// Attributes that set a style property by value.
struct style_attribute_t {
  const char* attribute;
  const char* property;
};
constexpr std::array<style_attribute_t, 4> STYLE_ATTRIBUTES{{{"data-fill", "fill"},
                                                             {"data-stroke", "stroke"},
                                                             {"data-opacity", "opacity"},
                                                             {"data-weight", "font-weight"}}};

align_t ParseAlign(std::string_view text) {
  if (text == "left") return align_t::LEFT;
  if (text == "center") return align_t::CENTER;
  if (text == "right") return align_t::RIGHT;
  throw std::runtime_error("data-align is left, center or right");
}

int ParseCount(const pugi::xml_attribute& attribute, int most) {
  const double value = ParseNumbers(attribute.value(), 1).front();
  if (value < 1 || value > most) {
    throw std::runtime_error(std::string(attribute.name()) + " is 1 to " + std::to_string(most));
  }
  return static_cast<int>(value);
}

void ReadBox(live_element_t& element, const pugi::xml_attribute& attribute) {
  const auto numbers = ParseNumbers(attribute.value(), 2);
  element.place.x = numbers[0];
  element.place.width = numbers[1];
}

void ReadTurn(live_element_t& element, const pugi::xml_attribute& attribute) {
  const auto numbers = ParseNumbers(attribute.value(), 3);
  element.turn = turn_t{numbers[0], numbers[1], numbers[2]};
}

void ReadBar(live_element_t& element, const pugi::xml_attribute& attribute) {
  const auto numbers = ParseNumbers(attribute.value(), 2);
  if (numbers[0] >= numbers[1]) throw std::runtime_error("data-bar is the low value and the high one");
  element.bar = bar_t{numbers[0], numbers[1], element.node.attribute("width").as_double()};
}

void ReadVariables(live_element_t& element, const pugi::xml_attribute& attribute) {
  std::string_view rest = attribute.value();
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find(' '), rest.size());
    if (end > 0) element.variables.emplace_back(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
}

// One key, or keys by value.
void ReadWord(live_element_t& element, const pugi::xml_attribute& attribute) {
  const std::string_view text = attribute.value();
  if (text.find(':') == std::string_view::npos)
    element.word = text;
  else
    element.words = ValueRule(text);
}

using reader_t = void (*)(live_element_t&, const pugi::xml_attribute&);

struct attribute_reader_t {
  std::string_view name;
  reader_t read;
};

constexpr std::array<attribute_reader_t, 19> READERS{{
    {"data-widget", [](auto& e, const auto& a) { e.widget = a.value(); }},
    {"data-background", [](auto& e, const auto& a) { e.background = a.value(); }},
    {"data-known", [](auto& e, const auto& a) { e.known = a.value(); }},
    {"data-var", ReadVariables},
    {"data-word", ReadWord},
    {"data-hide", [](auto& e, const auto& a) { e.hide = ValueRule(a.value(), false); }},
    {"data-show", [](auto& e, const auto& a) { e.show = ValueRule(a.value(), false); }},
    {"data-text", [](auto& e, const auto& a) { e.text = ValueRule(a.value()); }},
    {"data-flash", [](auto& e, const auto& a) { e.flash = ValueRule(a.value()); }},
    {"data-format", [](auto& e, const auto& a) { e.format = ValueFormat(a.value()); }},
    {"data-scale", [](auto& e, const auto& a) { e.scale = ParseNumbers(a.value(), 1).front(); }},
    {"data-turn", ReadTurn},
    {"data-bar", ReadBar},
    {"data-stale", [](auto& e, const auto& a) { e.stale = a.value(); }},
    {"data-cells", [](auto& e, const auto& a) { e.place.cells = ParseCount(a, 200); }},
    {"data-box", ReadBox},
    {"data-max",
     [](auto& e, const auto& a) { e.place.maximum = static_cast<std::size_t>(ParseCount(a, 200)); }},
    {"data-align", [](auto& e, const auto& a) { e.place.fixed = ParseAlign(a.value()); }},
    {"data-key", [](auto&, const auto&) {}},  // used by the front panel: the key that has this text as its name
}};

void ReadAttribute(live_element_t& element, const pugi::xml_attribute& attribute) {
  const std::string_view name = attribute.name();
  if (!name.starts_with("data-")) return;
  for (const auto& style : STYLE_ATTRIBUTES) {
    if (name == style.attribute) {
      element.styles.emplace_back(style.property, ValueRule(attribute.value()));
      return;
    }
  }
  const auto reader =
      std::find_if(READERS.begin(), READERS.end(), [&](const auto& known) { return known.name == name; });
  if (reader == READERS.end()) throw std::runtime_error("unknown attribute " + std::string(name));
  reader->read(element, attribute);
}

align_t AlignOfAnchor(std::string_view anchor) {
  if (anchor == "middle") return align_t::CENTER;
  return anchor == "end" ? align_t::RIGHT : align_t::LEFT;
}

void ReadBase(live_element_t& element) {
  const pugi::xml_node node = element.node;
  element.id = node.attribute("id").value();
  element.baseText = node.text().get();
  element.baseStyle = node.attribute("style").value();
  element.baseTransform = node.attribute("transform").value();
  element.baseHidden = std::string_view(node.attribute("display").value()) == "none";
  element.place.x = node.attribute("x").as_double();
  element.place.fontSize = node.attribute("font-size").as_double(16);
}

// The element's own text-anchor decides. That of a style sheet is not read, so a text that begins in the right
// half of its box counts as right-aligned.
void ReadAlign(live_element_t& element) {
  const pugi::xml_attribute anchor = element.node.attribute("text-anchor");
  const double middle = element.place.x + element.place.width / 2;
  const double x = element.node.attribute("x").as_double(element.place.x);
  if (anchor) {
    element.align = AlignOfAnchor(anchor.value());
  } else if (element.place.width > 0 && x > middle) {
    element.align = align_t::RIGHT;
  }
}

void CheckElement(const live_element_t& element, const std::set<std::string>& widgets) {
  for (const std::string& name : {element.widget, element.background, element.known}) {
    if (!name.empty() && !widgets.contains(name)) {
      throw std::runtime_error("the configuration has no widget " + name);
    }
  }
  const bool follows = !element.show.Empty() || !element.hide.Empty() || !element.words.Empty() ||
                       !element.text.Empty() || !element.flash.Empty() || !element.styles.empty() ||
                       !element.format.Empty() || element.turn || element.bar;
  if (follows && element.variables.empty()) {
    throw std::runtime_error("the element follows a value but has no data-var");
  }
  if (element.place.cells > 0 && element.place.width <= 0)
    throw std::runtime_error("data-cells needs data-box");
  if (element.bar && element.bar->width <= 0) throw std::runtime_error("data-bar needs a width");
  if (!element.IsText() && (!element.text.Empty() || !element.format.Empty() || element.HasWord())) {
    throw std::runtime_error("data-text, data-word and data-format are for text elements only");
  }
}

live_element_t ReadElement(pugi::xml_node node, const std::set<std::string>& widgets) {
  live_element_t element;
  element.node = node;
  ReadBase(element);
  for (const pugi::xml_attribute& attribute : node.attributes()) ReadAttribute(element, attribute);
  if (element.widget.empty() && widgets.contains(element.id)) element.widget = element.id;
  ReadAlign(element);
  CheckElement(element, widgets);
  return element;
}

bool IsLive(const live_element_t& element) {
  return !element.widget.empty() || !element.background.empty() || !element.variables.empty() ||
         !element.known.empty() || element.HasWord();
}

std::string Describe(pugi::xml_node node) {
  std::string text = "<" + std::string(node.name());
  for (const char* attribute : {"id", "data-widget", "data-var", "data-word"}) {
    if (const auto found = node.attribute(attribute))
      text += std::string(" ") + attribute + "=" + found.value();
  }
  return text + ">";
}

// Collects the live elements of a page. Gives an id to those without one, so that a change can refer to them.
class ElementCollector : public pugi::xml_tree_walker {
 public:
  ElementCollector(page_look_t& look, const std::set<std::string>& widgets) : look_(look), widgets_(widgets) {}

  bool for_each(pugi::xml_node& node) override {
    if (node.type() != pugi::node_element) return true;
    try {
      Collect(node);
    } catch (const std::runtime_error& error) {
      throw std::runtime_error(Describe(node) + ": " + error.what());
    }
    return true;
  }

 private:
  void Collect(pugi::xml_node node) {
    const std::string_view name = node.name();
    if (std::find(REFUSED_ELEMENTS.begin(), REFUSED_ELEMENTS.end(), name) != REFUSED_ELEMENTS.end()) {
      throw std::runtime_error("librsvg and browsers do not draw this element alike");
    }
    const std::string id = node.attribute("id").value();
    if (!id.empty() && !ids_.insert(id).second) throw std::runtime_error("another element has this id");
    if (id == COMPOSITOR_ELEMENT) look_.compositor = node;
    live_element_t element = ReadElement(node, widgets_);
    if (!IsLive(element)) return;
    if (element.id.empty()) {
      element.id = "live-" + std::to_string(look_.elements.size());
      node.append_attribute("id").set_value(element.id.c_str());
    }
    look_.elements.push_back(std::move(element));
  }

  page_look_t& look_;
  const std::set<std::string>& widgets_;
  std::set<std::string> ids_;
};

void ReadTransitions(page_design_t& page, pugi::xml_node described) {
  for (const pugi::xml_node& transition : described.children("transition")) {
    const std::string event = transition.attribute("event").value();
    const std::string target = transition.attribute("page").value();
    if (std::string_view(transition.attribute("when").value()) == WHEN_LINK_LOST && !target.empty()) {
      page.lostLinkPage = target;
      continue;
    }
    if (event.empty() || target.empty()) throw std::runtime_error("a transition needs event and page");
    page.transitions.emplace(event, target);
  }
}

void ReadNotices(page_design_t& page, pugi::xml_node described) {
  for (const pugi::xml_node& notice : described.children("notice")) {
    const std::string variable = notice.attribute("var").value();
    const std::string action = notice.attribute("action").value();
    if (variable.empty() || action.empty()) throw std::runtime_error("a notice needs var and action");
    page.notices.emplace(variable, action);
  }
}

void ReadPageElement(page_design_t& page, pugi::xml_node root) {
  const pugi::xml_node described = root.child("metadata").child("page");
  page.name = described.attribute("name").value();
  page.action = described.attribute("action").value();
  page.title = described.attribute("title").value();
  page.order = described.attribute("order").as_int(-1);
  if (page.name.empty() || page.action.empty() || page.order < 0) {
    throw std::runtime_error("<metadata> needs <page name=... action=... order=... title=...>");
  }
  ReadTransitions(page, described);
  ReadNotices(page, described);
}

page_look_t ReadLook(const pugi::xml_document& document, look_t look, const std::set<std::string>& widgets,
                     const design_base_t& base) {
  page_look_t result;
  result.document = std::make_unique<pugi::xml_document>();
  result.document->reset(document);
  PaintColors(*result.document, base.palette, look);
  ElementCollector collector(result, widgets);
  result.document->traverse(collector);
  result.elements.shrink_to_fit();  // kept as long as the service runs
  return result;
}

page_design_t ReadPageDocument(const fs::path& file, const std::set<std::string>& widgets,
                               const design_base_t& base) {
  page_design_t page;
  page.file = file;
  pugi::xml_document document;
  LoadDesignFile(document, file);
  const pugi::xml_node root = document.document_element();
  if (std::string_view(root.name()) != "svg") throw std::runtime_error("the root is not <svg>");
  ReadPageElement(page, root);
  InsertParts(root, *base.parts);
  if (FormatXml(root).size() > MOST_PAGE_BYTES) {
    throw std::runtime_error("with its parts the page has more than " + std::to_string(MOST_PAGE_BYTES) +
                             " bytes");
  }
  for (const look_t look : {LOOK_DAY, LOOK_NIGHT})
    page.looks.at(look) = ReadLook(document, look, widgets, base);
  return page;
}

// A mistake in what the pages share is one line, not one for each page.
bool ReadDesignBase(const fs::path& folder, design_base_t& base, std::vector<std::string>& problems) {
  try {
    base.palette = ReadPalette(folder / "palette.xml");
    base.parts = ReadParts(folder / PARTS_FILE);
    return true;
  } catch (const std::runtime_error& refused) {
    problems.emplace_back(refused.what());
    return false;
  }
}

std::set<fs::path> ListPages(const fs::path& folder, std::vector<std::string>& problems) {
  std::set<fs::path> files;  // sorted, so that the problems come in a fixed order
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(folder, error)) {
    if (entry.path().extension() == ".svg" && entry.path().filename() != PARTS_FILE) files.insert(entry.path());
  }
  if (error) problems.push_back(folder.string() + ": " + error.message());
  return files;
}

}  // namespace

std::string FormatXml(const pugi::xml_node& node) {
  std::ostringstream stream;
  node.print(stream, "", pugi::format_raw | pugi::format_no_declaration, pugi::encoding_utf8);
  return stream.str();
}

page_design_t ReadPage(const fs::path& file, const std::set<std::string>& widgets, const design_base_t& base) {
  try {
    return ReadPageDocument(file, widgets, base);
  } catch (const std::runtime_error& error) {
    throw std::runtime_error(file.string() + ": " + error.what());
  }
}

design_t ReadDesign(const fs::path& folder, const std::set<std::string>& widgets,
                    std::vector<std::string>& problems) {
  design_t design;
  design_base_t base;
  if (!ReadDesignBase(folder, base, problems)) return design;
  const std::set<fs::path> files = ListPages(folder, problems);
  if (files.size() > MOST_PAGES) {
    problems.push_back(folder.string() + ": the folder has " + std::to_string(files.size()) +
                       " pages; at most " + std::to_string(MOST_PAGES) + " are read");
    return design;
  }
  for (const fs::path& file : files) {
    try {
      page_design_t page = ReadPage(file, widgets, base);
      const std::string name = page.name;
      if (!design.emplace(name, std::move(page)).second) {
        problems.push_back(file.string() + ": another file has a page " + name);
      }
    } catch (const std::runtime_error& refused) {
      problems.emplace_back(refused.what());
    }
  }
  return design;
}

std::string CheckPage(const page_design_t& page, const std::set<std::string>& names,
                      const std::map<int, std::string>& orders) {
  for (const auto& [event, target] : page.transitions) {
    if (names.contains(target)) continue;
    return page.file.string().append(": ").append(event).append(" leads to a page that does not exist: ") +
           target;
  }
  if (!page.lostLinkPage.empty() && !names.contains(page.lostLinkPage)) {
    return page.file.string()
               .append(": ")
               .append(WHEN_LINK_LOST)
               .append(" leads to a page that does not exist: ") +
           page.lostLinkPage;
  }
  const auto other = orders.find(page.order);
  if (other == orders.end() || other->second == page.name) return {};
  return page.file.string() + ": page " + other->second + " has the same order";
}

std::vector<std::string> CheckDesign(const design_t& design) {
  std::vector<std::string> problems;
  std::set<std::string> names;
  std::map<int, std::string> orders;
  for (const auto& [name, page] : design) names.insert(name);
  for (const auto& [name, page] : design) {
    orders.emplace(page.order, name);
    std::string problem = CheckPage(page, names, orders);
    if (!problem.empty()) problems.push_back(std::move(problem));
  }
  return problems;
}

std::set<std::string> WordsUsed(const design_t& design) {
  std::set<std::string> used;
  for (const auto& [name, page] : design) {
    for (const live_element_t& element : page.looks.at(LOOK_DAY).elements) {
      if (!element.word.empty()) used.insert(element.word);
      for (const std::string& key : element.words.Texts()) used.insert(key);
    }
  }
  used.erase("");  // a value for which nothing stands there
  return used;
}

}  // namespace unit
