// Fuzzes the preference reader: it reads any document to its end or throws one of its own exceptions. Oracle:
// pugixml. Of a document that it takes for XML the elements are its own, in their order, and so is the
// attribute "id" of each.
#include <sstream>

#include <pugixml.hpp>

#include "fuzz/fuzz_input.h"
#include "src/services/preference_reader.h"

namespace {

using PREF::Reader;
using elements_t = std::vector<std::string>;  // name and id

std::string Describe(const Reader::Node& node) {
  try {
    static_cast<void>(node.getAttributeInt("id") + node.getAttributeUint8("id"));
    return node.GetName() + " " + node.getAttributeString("id");
  } catch (const Reader::Node::AttributeNotFoundException&) {
    return node.GetName() + " -";
  }
}
std::string Describe(const pugi::xml_node& node) {
  return std::string(node.name()) + " " + node.attribute("id").as_string("-");
}

// Both walks descend into every second child, so that the reader must skip the others by itself, and leave each
// level behind its third one.
void Walk(Reader& reader, int depth, elements_t& elements) {
  int place = 0;
  for (Reader::Node* node = reader.getFirstChild(); node != nullptr; node = reader.getNextSibling()) {
    elements.push_back(Describe(*node));
    if (place % 3 == 2) return reader.skipSiblings();
    if (place++ % 2 == 0 && depth < 64) Walk(reader, depth + 1, elements);
  }
}
void Walk(const pugi::xml_node& parent, int depth, elements_t& elements) {
  int place = 0;
  for (const pugi::xml_node& node : parent.children()) {
    if (node.type() != pugi::node_element) continue;  // the reader has text with its element
    elements.push_back(Describe(node));
    if (place % 3 == 2) return;
    if (place++ % 2 == 0 && depth < 64) Walk(node, depth + 1, elements);
  }
}

}  // namespace

void fuzz::RunInput(bytes_t input) {
  const std::string text = TextOf(input);
  std::istringstream stream(text);
  Reader reader(stream);
  elements_t elements;
  try {
    elements.push_back(Describe(*reader.beginParsing()));
    Walk(reader, 0, elements);
  } catch (const Reader::EOFFoundException&) {
    return;
  } catch (const Reader::BadParseException&) {
    return;
  }
  pugi::xml_document document;  // entities in values are not compared
  const bool isXml = document.load_buffer(text.data(), text.size(), pugi::parse_minimal, pugi::encoding_utf8);
  if (!isXml || text.find_first_of(std::string_view("&\0", 2)) != std::string::npos) return;
  elements_t expected = {Describe(document.document_element())};
  Walk(document.document_element(), 0, expected);
  Require(elements == expected);
}
