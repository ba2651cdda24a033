#include "host/log_check/shown_film.h"

#include <algorithm>
#include <array>
#include <utility>

#include <nlohmann/json.hpp>
#include <pugixml.hpp>

#include "host/log_check/digest.h"

namespace host::log_check {
namespace {

using nlohmann::json;

constexpr std::string_view TEXT = "text";
// The attributes that the screen changes.
constexpr std::array<std::string_view, 10> MOVING = {"display", "style",  "transform", "text-anchor",  "x", "y",
                                                     "width",   "height", "opacity",   "data-flashing"};
constexpr unsigned PARSING = pugi::parse_default | pugi::parse_ws_pcdata;

bool IsMoving(std::string_view attribute) {
  return std::ranges::find(MOVING, attribute) != MOVING.end();
}

// The same text for the same content, however its document is written.
std::string Content(const pugi::xml_node& node) {
  std::string text;
  for (const pugi::xml_node child : node.children()) {
    if (child.type() != pugi::node_element) {
      text += child.value();
      continue;
    }
    text += std::string("<") + child.name();
    for (const pugi::xml_attribute attribute : child.attributes())
      text += std::string(" ") + attribute.name() + "=" + attribute.value();
    text += ">" + Content(child) + "</>";
  }
  return text;
}

std::string Content(const std::string& markup) {
  if (markup.find_first_of("<&") == std::string::npos) return markup;
  pugi::xml_document document;
  const auto parsed = document.load_string(("<t>" + markup + "</t>").c_str(), PARSING);
  return parsed ? Content(document.first_child()) : markup;
}

// What an element without a name of its own shows.
std::string Purpose(const pugi::xml_node& element) {
  for (const char* attribute : {"data-widget", "data-word", "data-var", "data-key"}) {
    if (std::string value = element.attribute(attribute).value(); !value.empty()) return value;
  }
  return element.name();
}

std::string PageName(const std::string& page, const std::string& look) {
  return "page " + page + (look == "night" ? " at night: " : ": ");
}

std::string WithoutMarks(const std::string& text) {
  std::string words;
  bool isMark = false;
  for (const char letter : text) {
    if (letter == '<') isMark = true;
    if (!isMark) words += letter;
    if (letter == '>') isMark = false;
  }
  return words;
}

}  // namespace

// Goes through a page's document: names its elements, notes what they show at first, and adds all that does not
// move to the drawing's digest.
class DocumentReader {
 public:
  DocumentReader(std::string page, ShownFilm::elements_t& elements)
      : page_(std::move(page)), elements_(elements) {}

  void Read(const pugi::xml_node& node, const std::string& parent) {
    std::string id = node.attribute("id").value();
    if (elements_.contains(id)) id.clear();  // an id that is used twice names the first
    if (!id.empty()) Add(node, id, parent);
    digest_.Add(node.name());
    for (const pugi::xml_attribute attribute : node.attributes()) ReadAttribute(id, attribute);
    if (!id.empty() && node.name() == TEXT) {
      elements_[id].content = Content(node);
    } else {
      ReadChildren(node, id.empty() ? parent : id);
    }
    digest_.Add("/");
  }
  std::string Drawing() const { return digest_.Text(); }

 private:
  void Add(const pugi::xml_node& node, const std::string& id, const std::string& parent) {
    const bool isGiven = !id.starts_with("live-");
    const std::string purpose = isGiven ? id : Purpose(node);
    const int number = isGiven ? 1 : ++numbers_[purpose];
    elements_[id].name = page_ + purpose + (number > 1 ? " (" + std::to_string(number) + ")" : "");
    elements_[id].parent = parent;
    elements_[parent].children.push_back(id);
  }
  void ReadAttribute(const std::string& id, const pugi::xml_attribute& attribute) {
    const std::string word = attribute.name();
    if (!id.empty() && IsMoving(word)) {
      elements_[id].attributes[word] = attribute.value();
    } else if (word != "id" && word != "aria-label") {
      digest_.Add(word + "=" + attribute.value() + ";");
    }
  }
  void ReadChildren(const pugi::xml_node& node, const std::string& parent) {
    for (const pugi::xml_node child : node.children()) {
      if (child.type() == pugi::node_element) Read(child, parent);
      if (child.type() == pugi::node_pcdata) digest_.Add(child.value());
    }
  }

  const std::string page_;
  ShownFilm::elements_t& elements_;
  std::map<std::string, int> numbers_;
  Digest digest_;
};

void ShownFilm::AcceptDocument(const std::string& svg, const on_change_t& onChange) {
  const std::string page = PageName(page_, look_);
  elements_t& elements = pages_[page];
  elements.clear();
  pugi::xml_document document;
  std::string drawing = svg;
  if (document.load_string(svg.c_str(), PARSING)) {
    DocumentReader reader(page, elements);
    reader.Read(document.document_element(), "");
    drawing = reader.Drawing();
    for (const std::string& id : elements[""].children) Tell(elements, id, onChange);
  }
  onChange(page + std::string(DRAWING), drawing);
}

bool ShownFilm::IsVisible(const elements_t& elements, const std::string& id) {
  for (std::string at = id; !at.empty(); at = elements.at(at).parent) {
    if (elements.at(at).attributes.contains("display")) return false;  // its one value is "none"
  }
  return true;
}

// Tells what the element and all within it show.
void ShownFilm::Tell(const elements_t& elements, const std::string& id, const on_change_t& onChange) {
  const element_t& element = elements.at(id);
  const bool isVisible = IsVisible(elements, id);
  const auto shown = [isVisible](const std::string& value) {
    return isVisible ? std::optional(value) : std::nullopt;
  };
  onChange(element.name + ", sight", isVisible ? "is there" : "is hidden");
  for (const auto& [attribute, value] : element.attributes)
    onChange(element.name + ", " + attribute, shown(value));
  if (element.content) onChange(element.name, shown(*element.content));
  for (const std::string& child : element.children) Tell(elements, child, onChange);
}

// [id, {attribute: value or null}, content]; the content may be missing.
void ShownFilm::AcceptElement(const json& change, const on_change_t& onChange) {
  elements_t& elements = pages_[PageName(page_, look_)];
  const auto id = change.at(0).get<std::string>();
  element_t& element = elements[id];
  if (element.name.empty()) element.name = PageName(page_, look_) + id;
  for (const auto& [attribute, value] : change.at(1).items()) {
    if (attribute == "aria-label") continue;
    if (value.is_string()) {
      element.attributes[attribute] = value.get<std::string>();
    } else if (element.attributes.erase(attribute) > 0) {
      onChange(element.name + ", " + attribute, std::nullopt);
    }
  }
  if (change.size() > 2) element.content = Content(change.at(2).get<std::string>());
  Tell(elements, id, onChange);
}

void ShownFilm::Accept(const json& record, const on_change_t& onChange) {
  page_ = record.value("page", page_);
  look_ = record.value("look", look_);
  for (const char* member : {"page", "look", "title"}) {
    if (record.contains(member)) onChange(member, record.at(member).get<std::string>());
  }
  if (record.contains("sound")) onChange("beeper", record.at("sound").get<bool>() ? "sounds" : "is silent");
  if (record.contains("svg")) AcceptDocument(record.at("svg").get<std::string>(), onChange);
  if (!record.contains("elements")) return;
  for (const json& element : record.at("elements")) AcceptElement(element, onChange);
}

std::string WordsOf(const std::optional<std::string>& value) {
  if (!value) return "nothing";
  return '"' + WithoutMarks(*value) + '"';
}

}  // namespace host::log_check
