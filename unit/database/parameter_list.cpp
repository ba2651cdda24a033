#include "unit/database/parameter_list.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>

#include <pugixml.hpp>

#include "src/services/dbshm.h"

namespace unit {
namespace {

constexpr std::array<std::string_view, 4> ATTRIBUTES = {"name", "handle", "first", "notify"};

// Reads the text of a list; remembers the names and handles of the elements that it has read.
class ListReader {
 public:
  ListReader(std::string_view text, const std::string& file) : text_(text), file_(file) {}

  std::vector<parameter_t> Read();

 private:
  [[noreturn]] void Fail(std::ptrdiff_t offset, const std::string& what) const;
  std::size_t LineOf(std::ptrdiff_t offset) const;
  parameter_t ReadParameter(const pugi::xml_node& node);
  void CheckAttributes(const pugi::xml_node& node) const;
  std::string ReadName(const pugi::xml_node& node);
  unsigned ReadHandle(const pugi::xml_node& node);
  std::optional<double> ReadFirst(const pugi::xml_node& node) const;
  bool ReadNotify(const pugi::xml_node& node) const;

  std::string_view text_;
  const std::string& file_;
  std::map<std::string, std::size_t> nameLines_;
  std::map<unsigned, std::size_t> handleLines_;
};

std::vector<parameter_t> ListReader::Read() {
  pugi::xml_document document;
  const pugi::xml_parse_result parsed = document.load_buffer(text_.data(), text_.size());
  if (!parsed) Fail(parsed.offset, std::string(parsed.description()) + "; correct the document's syntax");
  const pugi::xml_node root = document.document_element();
  if (std::string_view(root.name()) != "orvik-parameters" || root.attribute("version").as_int() != 1) {
    Fail(root.offset_debug(), "the root must be <orvik-parameters version=\"1\">");
  }
  std::vector<parameter_t> parameters;
  for (const pugi::xml_node& node : root.children()) parameters.push_back(ReadParameter(node));
  if (parameters.empty()) Fail(root.offset_debug(), "has no <Parameter>; add at least one");
  if (parameters.size() > dbshm_layout::NAME_ENTRIES) {
    Fail(root.offset_debug(), "has " + std::to_string(parameters.size()) +
                                  " parameters; the name table holds " +
                                  std::to_string(dbshm_layout::NAME_ENTRIES));
  }
  return parameters;
}

void ListReader::Fail(std::ptrdiff_t offset, const std::string& what) const {
  throw std::runtime_error(file_ + ":" + std::to_string(LineOf(offset)) + ": " + what);
}

std::size_t ListReader::LineOf(std::ptrdiff_t offset) const {
  const auto end = static_cast<std::size_t>(std::max<std::ptrdiff_t>(offset, 0));
  return 1 + static_cast<std::size_t>(std::ranges::count(text_.substr(0, end), '\n'));
}

parameter_t ListReader::ReadParameter(const pugi::xml_node& node) {
  if (std::string_view(node.name()) != "Parameter") {
    Fail(node.offset_debug(), std::string("<") + node.name() + "> is not known here; use <Parameter .../>");
  }
  CheckAttributes(node);
  return {ReadName(node), ReadHandle(node), ReadFirst(node), ReadNotify(node)};
}

void ListReader::CheckAttributes(const pugi::xml_node& node) const {
  for (const pugi::xml_attribute& attribute : node.attributes()) {
    if (std::ranges::find(ATTRIBUTES, attribute.name()) != ATTRIBUTES.end()) continue;
    Fail(node.offset_debug(), std::string("attribute \"") + attribute.name() +
                                  "\" is not known; use name, handle, first and notify");
  }
}

std::string ListReader::ReadName(const pugi::xml_node& node) {
  std::string name = node.attribute("name").as_string();
  if (name.empty() || name.size() >= dbshm_layout::NAME_SIZE) {
    Fail(node.offset_debug(), "name must have 1 to 127 bytes, has " + std::to_string(name.size()));
  }
  const auto [first, isNew] = nameLines_.emplace(name, LineOf(node.offset_debug()));
  if (!isNew) {
    Fail(node.offset_debug(), "name \"" + name + "\" is used on line " + std::to_string(first->second) +
                                  " already; remove one of the two");
  }
  return name;
}

unsigned ListReader::ReadHandle(const pugi::xml_node& node) {
  const std::string_view text = node.attribute("handle").as_string();
  unsigned handle = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), handle);
  if (error != std::errc() || end != text.data() + text.size() || handle == 0 ||
      handle >= dbshm_layout::NAMED_HANDLES) {
    Fail(node.offset_debug(), "handle must be a number from 1 to " +
                                  std::to_string(dbshm_layout::NAMED_HANDLES - 1) + ", is \"" +
                                  std::string(text) + "\"");
  }
  const auto [first, isNew] = handleLines_.emplace(handle, LineOf(node.offset_debug()));
  if (!isNew) {
    Fail(node.offset_debug(), "handle " + std::to_string(handle) + " is used on line " +
                                  std::to_string(first->second) +
                                  " already; give this parameter one of its own");
  }
  return handle;
}

std::optional<double> ListReader::ReadFirst(const pugi::xml_node& node) const {
  const pugi::xml_attribute attribute = node.attribute("first");
  if (!attribute) return std::nullopt;
  const std::string_view text = attribute.as_string();
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) {
    Fail(node.offset_debug(), "first must be a number, is \"" + std::string(text) +
                                  "\"; leave it out where there is no first value");
  }
  return value;
}

bool ListReader::ReadNotify(const pugi::xml_node& node) const {
  const std::string_view text = node.attribute("notify").as_string("0");
  if (text != "0" && text != "1") {
    Fail(node.offset_debug(), "notify must be 0 or 1, is \"" + std::string(text) + "\"");
  }
  return text == "1";
}

}  // namespace

std::vector<parameter_t> ReadParameterFile(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream) {
    throw std::runtime_error(file + ": cannot be read; name the folder that holds it with --config DIR");
  }
  std::ostringstream text;
  text << stream.rdbuf();
  return ReadParameters(text.str(), file);
}

std::vector<parameter_t> ReadParameters(std::string_view text, const std::string& file) {
  return ListReader(text, file).Read();
}

}  // namespace unit
