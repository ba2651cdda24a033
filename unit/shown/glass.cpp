#include "unit/shown/glass.h"

#include <array>
#include <string_view>

#include <pugixml.hpp>

namespace unit {
namespace {

constexpr std::string_view NO_BREAK_SPACE = "\u00A0";
constexpr std::string_view WIDE_SPACE = "\u3000";  // as wide as a Chinese character

void ReplaceAll(std::string& text, std::string_view old, char fresh) {
  for (std::size_t at = text.find(old); at != std::string::npos; at = text.find(old, at))
    text.replace(at, old.size(), 1, fresh);
}

std::string Trimmed(std::string text) {
  for (const std::string_view blank : {NO_BREAK_SPACE, WIDE_SPACE}) ReplaceAll(text, blank, ' ');
  const std::size_t begin = text.find_first_not_of(' ');
  if (begin == std::string::npos) return {};
  return text.substr(begin, text.find_last_not_of(' ') + 1 - begin);
}

void AppendText(const pugi::xml_node& node, std::string& text) {
  text += node.value();
  for (const pugi::xml_node& child : node.children()) AppendText(child, text);
}

// A text in cells has a run for each glyph and names itself whole.
std::string TextOf(const pugi::xml_node& node) {
  std::string text = node.attribute("aria-label").value();
  if (text.empty()) AppendText(node, text);
  return Trimmed(std::move(text));
}

// Of several elements for one name, those on display come first.
void Add(std::map<std::string, std::string>& texts, const char* name, const std::string& text) {
  if (std::string& known = texts[name]; known.empty()) known = text;
}

void Read(const pugi::xml_node& node, bool hidden, glass_t& glass) {
  hidden = hidden || std::string_view(node.attribute("display").value()) == "none";
  if (std::string_view(node.name()) != "text") {
    for (const pugi::xml_node& child : node.children()) Read(child, hidden, glass);
    return;
  }
  const std::string text = hidden ? std::string() : TextOf(node);
  for (const char* attribute : {"id", "data-widget"}) {
    if (const char* name = node.attribute(attribute).value(); *name != '\0') Add(glass.widgets, name, text);
  }
  if (node.attribute("data-format")) Add(glass.numbers, node.attribute("data-var").value(), text);
}

}  // namespace

glass_t ReadGlass(const std::string& svg) {
  glass_t glass;
  pugi::xml_document document;
  if (document.load_buffer(svg.data(), svg.size(), pugi::parse_default | pugi::parse_ws_pcdata))
    Read(document.document_element(), false, glass);
  return glass;
}

}  // namespace unit
