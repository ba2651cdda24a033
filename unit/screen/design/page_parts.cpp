#include "unit/screen/design/page_parts.h"

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

namespace unit {
namespace {

constexpr int DEEPEST = 8;
constexpr const char* PART_ATTRIBUTE = "data-part";

bool IsPartNameCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
}

// The text with each "$name" replaced by the attribute of `place`.
std::string FillIn(std::string_view text, const pugi::xml_node& place) {
  std::string filled;
  for (std::size_t i = 0; i < text.size();) {
    if (text[i] != '$') {
      filled += text[i++];
      continue;
    }
    std::size_t end = i + 1;
    while (end < text.size() && IsPartNameCharacter(text[end])) ++end;
    const std::string name(text.substr(i + 1, end - i - 1));
    const pugi::xml_attribute value = place.attribute(name.c_str());
    if (!value)
      throw std::runtime_error("part " + std::string(place.attribute(PART_ATTRIBUTE).value()) + " needs " +
                               name);
    filled += value.value();
    i = end;
  }
  return filled;
}

void FillInAll(pugi::xml_node node, const pugi::xml_node& place) {
  for (pugi::xml_attribute attribute : node.attributes()) {
    attribute.set_value(FillIn(attribute.value(), place).c_str());
  }
  if (node.type() == pugi::node_pcdata) node.set_value(FillIn(node.value(), place).c_str());
  for (pugi::xml_node child : node.children()) FillInAll(child, place);
}

pugi::xml_node FindPart(const pugi::xml_document& parts, const char* name) {
  const pugi::xml_node part = parts.document_element().find_child_by_attribute("id", name);
  if (part.empty()) throw std::runtime_error("there is no part " + std::string(name));
  return part;
}

// Counts the elements below a node without recursion, because a file may nest them without bound.
class ElementCounter : public pugi::xml_tree_walker {
 public:
  bool for_each(pugi::xml_node& node) override {
    if (node.type() == pugi::node_element) ++count;
    return true;
  }

  std::size_t count = 0;
};

std::size_t CountElements(pugi::xml_node node) {
  ElementCounter counter;
  node.traverse(counter);
  return counter.count;
}

void CheckElementCount(std::size_t count) {
  if (count <= MOST_PAGE_ELEMENTS) return;
  throw std::runtime_error("the page has more than " + std::to_string(MOST_PAGE_ELEMENTS) +
                           " elements; leave out what the screen cannot show");
}

// `count`: the elements of the page so far.
void InsertBelow(pugi::xml_node node, const pugi::xml_document& parts, int depth, std::size_t& count);

void InsertPart(pugi::xml_node place, const pugi::xml_document& parts, int depth, std::size_t& count) {
  if (depth > DEEPEST) throw std::runtime_error("parts name each other in a circle");
  const std::string name = place.attribute(PART_ATTRIBUTE).value();
  const pugi::xml_node part = FindPart(parts, name.c_str());
  count += CountElements(part);
  CheckElementCount(count);
  for (const pugi::xml_node& child : part.children()) {
    FillInAll(place.append_copy(child), place);
  }
  const std::string transform = place.attribute("transform").value();
  InsertBelow(place, parts, depth + 1, count);
  place.remove_attributes();
  if (!transform.empty()) place.append_attribute("transform").set_value(transform.c_str());
}

void InsertBelow(pugi::xml_node node, const pugi::xml_document& parts, int depth, std::size_t& count) {
  for (pugi::xml_node child : node.children()) {
    if (child.attribute(PART_ATTRIBUTE)) {
      InsertPart(child, parts, depth, count);
    } else {
      InsertBelow(child, parts, depth, count);
    }
  }
}

}  // namespace

void LoadDesignFile(pugi::xml_document& document, const std::filesystem::path& file) {
  std::error_code unknown;  // load_file then says what is wrong
  if (std::filesystem::is_other(file, unknown)) throw std::runtime_error("it is no regular file");
  const std::uintmax_t size = std::filesystem::file_size(file, unknown);
  if (!unknown && size > MOST_PAGE_BYTES) {
    throw std::runtime_error("the file has " + std::to_string(size) + " bytes; at most " +
                             std::to_string(MOST_PAGE_BYTES) + " are read");
  }
  const pugi::xml_parse_result result = document.load_file(file.c_str());
  if (!result) {
    throw std::runtime_error(std::string(result.description()) + " at byte " + std::to_string(result.offset));
  }
  CheckElementCount(CountElements(document));
}

std::unique_ptr<pugi::xml_document> ReadParts(const std::filesystem::path& file) {
  auto document = std::make_unique<pugi::xml_document>();
  if (!std::filesystem::exists(file)) return document;
  try {
    LoadDesignFile(*document, file);
  } catch (const std::runtime_error& error) {
    throw std::runtime_error(file.string() + ": " + error.what());
  }
  return document;
}

void InsertParts(pugi::xml_node root, const pugi::xml_document& parts) {
  std::size_t count = CountElements(root);
  InsertBelow(root, parts, 0, count);
}

}  // namespace unit
