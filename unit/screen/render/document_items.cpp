#include "unit/screen/render/document_items.h"

#include <algorithm>
#include <array>
#include <set>
#include <stdexcept>
#include <string_view>
#include <utility>

#include <pugixml.hpp>

#include "unit/screen/design/design.h"

namespace unit {
namespace {

constexpr const char* DIM = "opacity:0.25";
constexpr std::size_t USUAL_ELEMENT = 256;  // bytes

// Properties that act on a group as a whole.
constexpr std::array<std::string_view, 6> GROUP_PROPERTIES{"opacity",   "filter",    "mask",
                                                           "clip-path", "mix-blend", "isolation"};
// Such attributes, and those of a group that is dim or transparent at times.
constexpr std::array<std::string_view, 9> GROUP_ATTRIBUTES{"opacity",      "filter",         "mask",
                                                           "clip-path",    "mix-blend-mode", "isolation",
                                                           "data-opacity", "data-flash",     "data-flashing"};
constexpr std::array<std::string_view, 8> DEFINITIONS{"linearGradient", "radialGradient", "pattern", "clipPath",
                                                      "mask",           "filter",         "marker",  "symbol"};
constexpr std::array<std::string_view, 2> DESCRIPTIONS{"title", "desc"};

template <typename Names>
bool IsAmong(const Names& names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

bool NamesGroupProperty(std::string_view text) {
  return std::any_of(GROUP_PROPERTIES.begin(), GROUP_PROPERTIES.end(),
                     [&](std::string_view property) { return text.find(property) != std::string_view::npos; });
}

bool ActsAsWhole(pugi::xml_node group) {
  if (std::string_view(group.attribute("id").value()) == COMPOSITOR_ELEMENT) return true;
  if (NamesGroupProperty(group.attribute("style").value())) return true;
  const auto attributes = group.attributes();
  return std::any_of(attributes.begin(), attributes.end(), [](const pugi::xml_attribute& attribute) {
    return IsAmong(GROUP_ATTRIBUTES, attribute.name());
  });
}

// Whether the sheet selects by element, class and id alone, and sets neither properties of groups nor what is
// hidden: then a rule holds for an item in the same way with and without its neighbours.
bool IsPlainSheet(std::string_view sheet) {
  constexpr std::string_view SELECTORS =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_.#*, \t\r\n";
  bool inBlock = false;
  for (const char c : sheet) {
    if (c == '{' || c == '}') {
      inBlock = c == '{';
    } else if (!inBlock && SELECTORS.find(c) == std::string_view::npos) {
      return false;
    }
  }
  return !NamesGroupProperty(sheet) && sheet.find("url(") == std::string_view::npos &&
         sheet.find("display") == std::string_view::npos;
}

// A style overrides the attribute.
bool IsHidden(pugi::xml_node node) {
  return std::string_view(node.attribute("display").value()) == "none" &&
         std::string_view(node.attribute("style").value()).find("display") == std::string_view::npos;
}

bool Refers(std::string_view text) {
  return text.find("href=") != std::string_view::npos || text.find("url(") != std::string_view::npos;
}

// The ids in `text` that stand after a mark such as url( and the sign #.
void CollectReferences(std::string_view text, std::string_view mark, std::set<std::string>& ids) {
  for (std::size_t at = text.find(mark); at != std::string_view::npos; at = text.find(mark, at + 1)) {
    const std::size_t begin = text.find_first_not_of("\"' ", at + mark.size());
    if (begin == std::string_view::npos || text[begin] != '#') continue;
    const std::size_t end = std::min(text.find_first_of("\"') ", begin), text.size());
    ids.emplace(text.substr(begin + 1, end - begin - 1));
  }
}

std::set<std::string> References(std::string_view text) {
  std::set<std::string> ids;
  CollectReferences(text, "href=", ids);
  CollectReferences(text, "url(", ids);
  return ids;
}

void AppendEscaped(std::string& text, std::string_view value) {
  constexpr std::string_view ESCAPED = "&<\"";
  constexpr std::array<std::string_view, ESCAPED.size()> REFERENCES{"&amp;", "&lt;", "&quot;"};
  while (!value.empty()) {
    const std::size_t length = std::min(value.find_first_of(ESCAPED), value.size());
    text += value.substr(0, length);
    if (length < value.size()) text += REFERENCES.at(ESCAPED.find(value[length]));
    value.remove_prefix(std::min(length + 1, value.size()));
  }
}

std::string StartTag(pugi::xml_node node, bool withData) {
  std::string tag = std::string("<") + node.name();
  for (const pugi::xml_attribute& attribute : node.attributes()) {
    const std::string_view name = attribute.name();
    if (!withData && name.starts_with("data-")) continue;
    tag.append(" ").append(name).append("=\"");
    AppendEscaped(tag, attribute.value());
    tag += '"';
  }
  return tag + ">";
}

struct text_writer_t : pugi::xml_writer {
  std::string text;
  void write(const void* data, std::size_t size) override { text.append(static_cast<const char*>(data), size); }
};

void AppendXml(std::string& text, pugi::xml_node node) {
  text_writer_t writer;
  writer.text = std::move(text);
  node.print(writer, "", pugi::format_raw | pugi::format_no_declaration, pugi::encoding_utf8);
  text = std::move(writer.text);
}

void CollectIds(pugi::xml_node node, std::set<std::string>& ids) {
  if (const auto id = node.attribute("id")) ids.insert(id.value());
  for (const pugi::xml_node& child : node.children()) CollectIds(child, ids);
}

struct surrounding_t {  // the tags of an element's groups
  std::string before, after;
  bool hidden = false;

  surrounding_t Within(pugi::xml_node group) const {
    return {before + StartTag(group, true), std::string("</") + group.name() + ">" + after,
            hidden || IsHidden(group)};
  }
};

class Divider {
 public:
  explicit Divider(document_items_t& result) : result_(result) {}

  void Divide(pugi::xml_node root) {
    result_.start = StartTag(root, false);
    result_.divisible = std::string_view(root.name()) == "svg" && !ActsAsWhole(root);
    DivideGroup(root, {});
    // An element that is used may change without those that use it, unless it is a definition.
    if (!std::includes(defined_.begin(), defined_.end(), used_.begin(), used_.end())) result_.divisible = false;
  }

 private:
  void DivideGroup(pugi::xml_node group, const surrounding_t& surrounding) {
    for (const pugi::xml_node& child : group.children()) {
      if (!result_.divisible) return;
      if (child.type() == pugi::node_element) Place(child, surrounding);
    }
  }

  void Place(pugi::xml_node node, const surrounding_t& surrounding) {
    const std::string_view name = node.name();
    if (name == "g" && !ActsAsWhole(node)) {
      DivideGroup(node, surrounding.Within(node));
    } else if (name == "style") {
      AddSheet(node);
    } else if (name == "metadata") {
      AppendXml(result_.page, node);
    } else if (name == "defs") {
      DivideDefinitions(node, surrounding.Within(node));
    } else if (IsAmong(DEFINITIONS, name)) {
      AddDefinition(node, surrounding);
    } else if (!IsAmong(DESCRIPTIONS, name)) {
      AddItem(node, surrounding);
    }
  }

  void DivideDefinitions(pugi::xml_node definitions, const surrounding_t& surrounding) {
    for (const pugi::xml_node& child : definitions.children()) {
      if (std::string_view(child.name()) == "style") {
        AddSheet(child);
      } else {
        AddDefinition(child, surrounding);
      }
    }
  }

  void AddSheet(pugi::xml_node sheet) {
    AppendXml(result_.styles, sheet);
    const bool isOneText = sheet.first_child() == sheet.last_child();
    if (!isOneText || !IsPlainSheet(sheet.text().get())) result_.divisible = false;
  }

  void AddDefinition(pugi::xml_node node, const surrounding_t& surrounding) {
    const std::string text = MakeText(node, surrounding);
    result_.definitions += text;
    CollectIds(node, defined_);
    if (Refers(text)) used_.merge(References(text));
  }

  void AddItem(pugi::xml_node node, const surrounding_t& surrounding) {
    document_item_t& item = result_.items.emplace_back();
    item.hidden = surrounding.hidden || IsHidden(node);
    if (item.hidden) return;
    item.text = MakeText(node, surrounding);
    item.id = node.attribute("id").value();
    item.begin = surrounding.before.size();
    item.end = item.text.size() - surrounding.after.size();
    item.refers = Refers(item.text);
    if (item.refers) AddUsed(item, node);
  }

  // A style sheet below `node` would be one of the whole document.
  std::string MakeText(pugi::xml_node node, const surrounding_t& surrounding) {
    std::string text;
    text.reserve(surrounding.before.size() + surrounding.after.size() + USUAL_ELEMENT);
    text = surrounding.before;
    AppendXml(text, node);
    if (text.find("<style", surrounding.before.size()) != std::string::npos) result_.divisible = false;
    text += surrounding.after;
    bytes_ += text.size();
    if (bytes_ > MOST_ITEM_BYTES) result_.divisible = false;
    return text;
  }

  void AddUsed(const document_item_t& item, pugi::xml_node node) {
    std::set<std::string> own;
    CollectIds(node, own);
    for (const std::string& id : References(item.text)) {
      if (!own.contains(id)) used_.insert(id);
    }
  }

  document_items_t& result_;
  std::set<std::string> defined_, used_;  // ids within the definitions, ids that elements refer to
  std::size_t bytes_ = 0;
};

void DimFlashing(pugi::xml_node node, dim_rates_t dim) {
  const std::string_view rate = node.attribute("data-flashing").value();
  if ((dim.once && rate == "1") || (dim.twice && rate == "2")) {
    pugi::xml_attribute style = node.attribute("style");
    if (!style) style = node.append_attribute("style");
    style.set_value((std::string(style.value()) + ";" + DIM).c_str());
  }
  for (const pugi::xml_node& child : node.children()) DimFlashing(child, dim);
}

}  // namespace

document_items_t DivideDocument(const std::string& svg, dim_rates_t dim) {
  pugi::xml_document document;
  const pugi::xml_parse_result parsed =
      document.load_buffer(svg.data(), svg.size(), pugi::parse_default | pugi::parse_ws_pcdata);
  if (!parsed) throw std::runtime_error(std::string("cannot draw the picture: ") + parsed.description());
  const pugi::xml_node root = document.document_element();
  if (dim != dim_rates_t{}) DimFlashing(root, dim);
  document_items_t result;
  Divider(result).Divide(root);
  if (!result.divisible) AppendXml(result.whole, root);
  return result;
}

std::string ItemId(const document_item_t& item, std::size_t index) {
  return item.id.empty() ? "retained-" + std::to_string(index) : item.id;
}

std::string JoinItems(const document_items_t& document, const std::vector<const document_item_t*>& items) {
  std::string text = document.start + document.styles;
  const bool refers = std::any_of(items.begin(), items.end(), [](const auto* item) { return item->refers; });
  if (refers) text += document.definitions;
  std::string_view groups, ends;  // of the item before: neighbours share their groups
  for (std::size_t i = 0; i < items.size(); ++i) {
    const std::string_view item = items[i]->text;
    const std::string_view element = item.substr(items[i]->begin, items[i]->end - items[i]->begin);
    if (item.substr(0, items[i]->begin) != groups) {
      groups = item.substr(0, items[i]->begin);
      text.append(ends).append(groups);
      ends = item.substr(items[i]->end);
    }
    const std::size_t name = items[i]->id.empty() ? element.find_first_of(" />") : 0;
    text.append(element.substr(0, name));
    if (name > 0) text += " id=\"" + ItemId(*items[i], i) + "\"";
    text.append(element.substr(name));
  }
  return text.append(ends).append("</svg>");
}

}  // namespace unit
