#include "unit/shown/shown_table.h"

#include <array>
#include <cstddef>
#include <string_view>

#include <nlohmann/json.hpp>

#include "expect/shown_names.h"

namespace unit {
namespace {

using nlohmann::json;

constexpr std::size_t NAME_WIDTH = 17;

// After a text, where the screen shows it: the text with the unit, or the unit itself.
struct unit_sign_t {
  std::string_view name, unit;
};
constexpr auto UNIT_SIGNS = std::to_array<unit_sign_t>({{"load", "weight-units"},
                                                        {"capacity", "weight-units"},
                                                        {"radius", "distance-units"},
                                                        {"extension", "distance-units"},
                                                        {"percent", "%"},
                                                        {"angle", "degrees"}});

json Member(const json& object, std::string_view name) {
  return object.is_object() ? object.value(std::string(name), json()) : json();
}

std::string TextOf(const json& value) {
  if (value.is_string()) return value.get<std::string>();
  return value.is_null() ? "-" : value.dump();
}

std::string Listed(const json& values, const char* none) {
  std::string list;
  for (const json& value : values) list += (list.empty() ? "" : ", ") + TextOf(value);
  return list.empty() ? none : list;
}

std::string Row(std::string_view name, const std::string& value) {
  std::string row(name);
  row.resize(NAME_WIDTH, ' ');
  return row + value + "\n";
}

std::string UnitOf(std::string_view name, const json& texts) {
  for (const unit_sign_t& sign : UNIT_SIGNS) {
    if (sign.name != name) continue;
    const json unit = Member(texts, sign.unit);
    return " " + (unit.is_string() ? unit.get<std::string>() : std::string(sign.unit));
  }
  return {};
}

std::string TextRows(const json& texts) {
  std::string rows;
  for (const std::string_view name : expect::TEXT_NAMES) {
    const json text = Member(texts, name);
    if (!text.is_string() || text == json("") || name.ends_with("-units")) continue;
    rows += Row(name, TextOf(text) + UnitOf(name, texts));
  }
  return rows;
}

}  // namespace

std::string FormatShown(const std::string& shown) {
  const json all = json::parse(shown, nullptr, false);
  const auto text = [&all](std::string_view name) { return TextOf(Member(all, name)); };
  return Row("page", text("page") + ", " + text("title")) + Row("data", text("state")) +
         Row("link", text("link")) + TextRows(Member(all, "texts")) +
         Row("lamps", Listed(Member(all, "lamps"), "none is lit")) + Row("beeper", text("beeper")) +
         Row("keys held", Listed(Member(all, "keys"), "none")) + Row("language", text("language")) +
         Row("brightness", text("brightness") + " %");
}

}  // namespace unit
