#include "unit/screen/design/palette.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>

#include "unit/screen/design/page_parts.h"

namespace unit {
namespace {

// A page may name a colour thousands of times.
constexpr std::size_t MOST_COLOR_BYTES = 64;

bool IsColorNameCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-';
}

// The text with each "@name" replaced.
std::string Paint(std::string_view text, const palette_t& palette, look_t look) {
  std::string painted;
  for (std::size_t i = 0; i < text.size();) {
    if (text[i] != '@') {
      painted += text[i++];
      continue;
    }
    std::size_t end = i + 1;
    while (end < text.size() && IsColorNameCharacter(text[end])) ++end;
    const std::string name(text.substr(i + 1, end - i - 1));
    const auto color = palette.find(name);
    if (color == palette.end()) throw std::runtime_error("the palette has no colour @" + name);
    painted += color->second.at(look);
    i = end;
  }
  return painted;
}

class Painter : public pugi::xml_tree_walker {
 public:
  Painter(const palette_t& palette, look_t look) : palette_(palette), look_(look) {}

  bool for_each(pugi::xml_node& node) override {
    for (pugi::xml_attribute attribute : node.attributes()) {
      if (!HasName(attribute.value())) continue;
      attribute.set_value(Paint(attribute.value(), palette_, look_).c_str());
    }
    if (std::string_view(node.name()) == "style" && HasName(node.text().get())) {
      node.text().set(Paint(node.text().get(), palette_, look_).c_str());
    }
    return true;
  }

 private:
  static bool HasName(std::string_view text) { return text.find('@') != std::string_view::npos; }

  const palette_t& palette_;
  const look_t look_;
};

}  // namespace

look_t ChooseLook(look_t present, const variable_value_t& brightness) {
  if (!brightness) return present;
  if (*brightness >= DAY_FROM) return LOOK_DAY;
  return *brightness <= NIGHT_UP_TO ? LOOK_NIGHT : present;
}

palette_t ReadPalette(const std::filesystem::path& file) {
  palette_t palette;
  if (!std::filesystem::exists(file)) return palette;
  pugi::xml_document document;
  try {
    LoadDesignFile(document, file);
  } catch (const std::runtime_error& error) {
    throw std::runtime_error(file.string() + ": " + error.what());
  }
  for (const pugi::xml_node& color : document.child("palette").children("colour")) {
    const std::string name = color.attribute("name").value();
    const std::array<std::string, LOOKS> values{color.attribute("day").value(),
                                                color.attribute("night").value()};
    if (name.empty() || values[0].empty() || values[1].empty()) {
      throw std::runtime_error(file.string() + ": a colour needs name, day and night");
    }
    if (std::max(values[0].size(), values[1].size()) > MOST_COLOR_BYTES) {
      throw std::runtime_error(file.string() + ": the colour " + name + " has more than " +
                               std::to_string(MOST_COLOR_BYTES) + " bytes");
    }
    palette[name] = values;
  }
  return palette;
}

void PaintColors(pugi::xml_node root, const palette_t& palette, look_t look) {
  Painter painter(palette, look);
  root.traverse(painter);
}

}  // namespace unit
