#include "unit/design/drawn_page.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numbers>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include "unit/screen/design/design.h"

namespace unit {
namespace {

using sizes_t = std::map<std::string, double>;  // font size by class

sizes_t ReadSizes(const pugi::xml_document& document) {
  static const std::regex RULE(R"((?:\.([\w-]+)|\btext)\s*\{[^}]*font-size:\s*([\d.]+)px)");
  sizes_t sizes;
  for (const auto& found : document.select_nodes("//*[local-name()='style']")) {
    const std::string style = found.node().text().get();
    for (std::sregex_iterator match(style.begin(), style.end(), RULE), end; match != end; ++match) {
      sizes[(*match)[1].str()] = std::stod((*match)[2].str());
    }
  }
  return sizes;
}

// The element's own style, its attribute, its class, the rule for all texts: in the order of CSS.
double FontSize(const pugi::xml_node& text, const sizes_t& sizes) {
  static const std::regex OWN(R"(font-size:\s*([\d.]+)px)");
  std::smatch match;
  const std::string style = text.attribute("style").value();
  if (std::regex_search(style, match, OWN)) return std::stod(match[1].str());
  std::istringstream classes(text.attribute("class").value());
  for (std::string name; classes >> name;) {
    if (const auto size = sizes.find(name); size != sizes.end()) return size->second;
  }
  if (const auto size = sizes.find(""); size != sizes.end()) return size->second;
  return text.attribute("font-size").as_double(16);
}

// A glyph that is too wide for its cell has a smaller size of its own.
double SmallestSize(const pugi::xml_node& text, double size) {
  for (const auto& span : text.select_nodes(".//tspan[@font-size]")) {
    size = std::min(size, span.node().attribute("font-size").as_double(size));
  }
  return size;
}

// The upright edge of a glyph in a text's own pixels becomes this vector in those of the screen.
struct upright_t {
  double x = 0, y = 1;
};

void Transform(upright_t& upright, const std::string& name, const std::vector<double>& numbers) {
  const auto [x, y] = upright;
  const auto number = [&](std::size_t i, double absent) { return i < numbers.size() ? numbers[i] : absent; };
  if (name == "scale") upright = {x * number(0, 1), y * number(1, number(0, 1))};
  if (name == "rotate") {
    const double angle = number(0, 0) * std::numbers::pi / 180;
    upright = {x * std::cos(angle) - y * std::sin(angle), x * std::sin(angle) + y * std::cos(angle)};
  }
  if (name == "matrix" && numbers.size() == 6) {
    upright = {numbers[0] * x + numbers[2] * y, numbers[1] * x + numbers[3] * y};
  }
}

// By how much `transforms`, the outermost first, make a text higher.
double HeightScale(const std::string& transforms) {
  std::vector<std::pair<std::string, std::vector<double>>> steps;
  std::istringstream rest(transforms);
  for (std::string name, list; std::getline(rest >> std::ws, name, '(') && std::getline(rest, list, ')');) {
    std::erase_if(name, [](char c) { return c == ' ' || c == ','; });
    std::replace(list.begin(), list.end(), ',', ' ');
    std::istringstream numbers(list);
    steps.push_back({name, {std::istream_iterator<double>(numbers), {}}});
  }
  upright_t upright;
  for (auto step = steps.rbegin(); step != steps.rend(); ++step) Transform(upright, step->first, step->second);
  return std::hypot(upright.x, upright.y);
}

std::string ContentOf(const pugi::xml_node& text) {
  std::string content;
  for (const auto& found : text.select_nodes(".//text()")) content += found.node().value();
  return content;
}

std::string TextName(const pugi::xml_node& text) {
  for (const char* attribute : {"data-widget", "data-word", "data-var", "data-key"}) {
    if (const auto found = text.attribute(attribute)) return std::string(attribute) + " " + found.value();
  }
  return text.attribute("id").value();
}

bool Contains(const ink_box_t& outer, double x, double y) {
  return x >= outer.x && x <= outer.x + outer.width && y >= outer.y && y <= outer.y + outer.height;
}

// Walks the visible part of a document in the order in which it is drawn.
class PageReader {
 public:
  PageReader(pugi::xml_document& document, ink_cache_t& cache)
      : sizes_(ReadSizes(document)), cache_(cache), root_(document.document_element()) {}

  std::vector<drawn_text_t> Read() {
    Mark(root_);
    geometry_ = std::make_unique<SvgGeometry>(FormatXml(root_));
    Walk(root_, "");
    return std::move(texts_);
  }

 private:
  // Gives each text and rectangle an id, by which librsvg finds it.
  void Mark(pugi::xml_node node) {
    const std::string_view name = node.name();
    if (name == "text" || name == "rect") {
      pugi::xml_attribute id = node.attribute("id");
      if (!id) id = node.append_attribute("id");
      ids_[node] = id.value()[0] != '\0' ? id.value() : "drawn-" + std::to_string(ids_.size());
      id.set_value(ids_[node].c_str());
    }
    for (pugi::xml_node child : node.children()) Mark(child);
  }

  void Walk(pugi::xml_node node, const std::string& path) {
    const std::string_view name = node.name();
    if (std::string_view(node.attribute("display").value()) == "none" || name == "defs") return;
    const std::string here = path + node.attribute("transform").value();
    if (name == "rect" && !node.attribute("data-bar")) AddFrame(node, here);
    if (name == "text") AddText(node, here);
    for (const pugi::xml_node& child : node.children()) Walk(child, here);
  }

  std::optional<ink_box_t> Measure(const pugi::xml_node& node, const std::string& path) {
    pugi::xml_document copy;
    pugi::xml_node bare = copy.append_copy(node);
    bare.remove_attribute("id");
    const std::string key = path + "|" + FormatXml(bare);
    const auto known = cache_.find(key);
    if (known != cache_.end()) return known->second;
    return cache_[key] = geometry_->Find(ids_.at(node));
  }

  void AddFrame(const pugi::xml_node& node, const std::string& path) {
    if (const auto box = Measure(node, path)) frames_.push_back(*box);
  }

  void AddText(const pugi::xml_node& node, const std::string& path) {
    const std::string content = ContentOf(node);
    if (content.find_first_not_of(' ') == std::string::npos) return;
    const auto box = Measure(node, path);
    if (!box) return;
    const double size = SmallestSize(node, FontSize(node, sizes_)) * HeightScale(path);
    texts_.push_back({TextName(node), content, node.attribute("class").value(), size, *box, FrameOf(*box)});
  }

  ink_box_t FrameOf(const ink_box_t& text) const {
    ink_box_t smallest{0, 0, SCREEN_WIDTH, SCREEN_HEIGHT};
    for (const ink_box_t& frame : frames_) {
      const bool holds = Contains(frame, text.x + text.width / 2, text.y + text.height / 2);
      if (holds && frame.width * frame.height < smallest.width * smallest.height) smallest = frame;
    }
    return smallest;
  }

  const sizes_t sizes_;
  ink_cache_t& cache_;
  pugi::xml_node root_;
  std::map<pugi::xml_node, std::string> ids_;
  std::unique_ptr<SvgGeometry> geometry_;
  std::vector<ink_box_t> frames_;
  std::vector<drawn_text_t> texts_;
};

}  // namespace

std::vector<drawn_text_t> ReadDrawnTexts(const std::string& svg, ink_cache_t& cache) {
  pugi::xml_document document;
  if (!document.load_string(svg.c_str())) throw std::runtime_error("the page is no document");
  return PageReader(document, cache).Read();
}

}  // namespace unit
