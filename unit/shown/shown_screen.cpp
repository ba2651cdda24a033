#include "unit/shown/shown_screen.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <optional>

#include <nlohmann/json.hpp>

#include "base/json_text.h"
#include "expect/shown_names.h"
#include "unit/screen/design/screen_model.h"
#include "unit/screen/design/screen_names.h"
#include "unit/shown/glass.h"

namespace unit {
namespace {

using nlohmann::json;
using nlohmann::ordered_json;

constexpr double HUNDRED = 100;

// A widget's name is this prefix, its page where several pages have such a text, what it shows, and its width.
constexpr std::string_view WIDGET_PREFIX = "orvikTextWidget";
constexpr std::array<std::string_view, 7> WIDGET_PAGES = {"Top",   "Mid",  "Bot",   "Wad",
                                                          "Slate", "Main", "Config"};
constexpr std::array<std::string_view, 2> WIDGET_WIDTHS = {"Std", "Wide"};

struct text_source_t {
  std::string_view text;
  std::string_view source;
};
constexpr auto WIDGET_TEXTS = std::to_array<text_source_t>({{"load", "Load"},
                                                            {"capacity", "Capacity"},
                                                            {"radius", "Radius"},
                                                            {"angle", "Angle"},
                                                            {"extension", "Extension"},
                                                            {"swing", "Swing"},
                                                            {"weight-units", "UnitsWeight"},
                                                            {"distance-units", "UnitsDistance"},
                                                            {"line1", "Line1"},
                                                            {"line2", "Line2"},
                                                            {"line3", "Line3"},
                                                            {"line4", "Line4"},
                                                            {"flash-msg", "FlashMsg"},
                                                            {"erected", "Erected"},
                                                            {"stowed", "Stowed"}});
// Texts that show the value of a variable.
constexpr auto NUMBER_TEXTS = std::to_array<text_source_t>({{"percent", "OrvikPercentSafeWorkingLoad"},
                                                            {"parts-of-line", "OrvikPartsOfLine"},
                                                            {"piston-pressure", "OrvikPistonPressure"},
                                                            {"rod-pressure", "OrvikRodPressure"}});
static_assert(WIDGET_TEXTS.size() + NUMBER_TEXTS.size() == expect::TEXT_NAMES.size());
constexpr std::string_view PERCENT_SIGN = " %";

// In the order of expect::LAMP_NAMES.
constexpr std::array<const char*, expect::LAMP_NAMES.size()> LAMP_VARIABLES = {"OrvikPreAlarm",
                                                                               "OrvikOverload",
                                                                               "OrvikA2B",
                                                                               "OrvikJibLongFly0",
                                                                               "OrvikJibShortFly0",
                                                                               "OrvikJibLongFly15",
                                                                               "OrvikJibShortFly15",
                                                                               "OrvikJibLongFly30",
                                                                               "OrvikJibShortFly30",
                                                                               "OrvikRearWinch",
                                                                               "OrvikFrontWinch",
                                                                               "OrvikCounterweight",
                                                                               "OrvikStowed",
                                                                               "OrvikBoomMode",
                                                                               "OrvikAuxHead",
                                                                               "OrvikAlarmSet",
                                                                               "OrvikTires",
                                                                               "OrvikOutriggerRetracted",
                                                                               "OrvikOutriggerHalf",
                                                                               "OrvikOutriggerExtended",
                                                                               "OrvikPickMainBoom",
                                                                               "OrvikPickAux",
                                                                               "OrvikPickFly",
                                                                               "OrvikManBasket",
                                                                               "OrvikAngleAlarmSet",
                                                                               "OrvikAngleAlarmTripped",
                                                                               "OrvikRadiusAlarmSet",
                                                                               "OrvikRadiusAlarmTripped",
                                                                               "OrvikExtensionAlarmSet",
                                                                               "OrvikExtensionAlarmTripped",
                                                                               "OrvikSwingAlarmSet",
                                                                               "OrvikSwingAlarmTripped"};

struct data_words_t {
  std::string_view state, link;
};

data_words_t WordsFor(int dataState) {
  switch (dataState) {
    case DATA_CURRENT:
      return {expect::STATE_CURRENT, expect::LINK_HEARD};
    case DATA_VALUES_OLD:
      return {expect::STATE_OLD, expect::LINK_HEARD};
    case DATA_LINK_LOST:
      return {expect::STATE_OLD, expect::LINK_LOST};
    case DATA_PROGRAM_SILENT:  // the screen shows the sign of the lost link for it too
      return {expect::STATE_UNKNOWN, expect::LINK_LOST};
    default:
      return {expect::STATE_UNKNOWN, expect::LINK_UNKNOWN};
  }
}

void RemovePrefix(std::string_view& text, std::string_view prefix) {
  if (text.starts_with(prefix)) text.remove_prefix(prefix.size());
}

void RemoveSuffix(std::string_view& text, std::string_view suffix) {
  if (text.ends_with(suffix)) text.remove_suffix(suffix.size());
}

// Empty where no text has that source.
std::string_view NameOf(const auto& table, std::string_view source) {
  const auto row = std::ranges::find(table, source, &text_source_t::source);
  return row == table.end() ? std::string_view() : row->text;
}

std::string_view NameOfWidget(std::string_view widget) {
  if (!widget.starts_with(WIDGET_PREFIX)) return {};
  RemovePrefix(widget, WIDGET_PREFIX);
  for (const std::string_view page : WIDGET_PAGES) RemovePrefix(widget, page);
  for (const std::string_view width : WIDGET_WIDTHS) RemoveSuffix(widget, width);
  return NameOf(WIDGET_TEXTS, widget);
}

// Of the two widths of a line, one is blank.
void Keep(ordered_json& texts, std::string_view name, std::string_view text) {
  if (name.empty() || text.empty()) return;
  RemoveSuffix(text, PERCENT_SIGN);
  texts[std::string(name)] = text;
}

ordered_json TextsOf(const glass_t& glass) {
  ordered_json texts = ordered_json::object();
  for (const std::string_view name : expect::TEXT_NAMES) texts[std::string(name)] = "";
  for (const auto& [widget, text] : glass.widgets) Keep(texts, NameOfWidget(widget), text);
  for (const auto& [variable, text] : glass.numbers) Keep(texts, NameOf(NUMBER_TEXTS, variable), text);
  return texts;
}

// 0 where there is no such number.
double NumberOf(const json& object, const char* name) {
  const json value = object.value(name, json());
  return value.is_number() ? value.get<double>() : 0;
}

// The screen darkens all lamps while its data are not current.
std::vector<std::string_view> LitLamps(const json& variables, const data_words_t& words) {
  std::vector<std::string_view> lamps;
  if (words.link == expect::LINK_LOST) lamps.push_back(expect::LINK_LOST_LAMP);
  for (std::size_t i = 0; words.state == expect::STATE_CURRENT && i < LAMP_VARIABLES.size(); ++i) {
    if (NumberOf(variables, LAMP_VARIABLES.at(i)) != 0) lamps.push_back(expect::LAMP_NAMES.at(i));
  }
  std::ranges::sort(lamps);
  return lamps;
}

std::string_view LanguageOf(const json& variables) {
  const auto number = static_cast<std::size_t>(std::max(NumberOf(variables, LANGUAGE_VARIABLE), 0.0));
  return expect::LANGUAGE_NAMES.at(number < expect::LANGUAGE_NAMES.size() ? number : 0);
}

std::vector<int> HeldKeys(const json& board) {
  std::vector<int> held;
  for (int key = 1; const json& isHeld : board.value("keys", json())) {
    if (isHeld == json(true)) held.push_back(key);
    ++key;
  }
  return held;
}

// Percent; null where no board is.
ordered_json BrightnessOf(const json& board) {
  const json backlight = board.value("backlight", json());
  if (!backlight.is_object()) return {};
  const double period = NumberOf(backlight, "period");
  if (period <= 0 || backlight.value("enabled", json()) != json(true)) return 0;
  return std::lround(HUNDRED * NumberOf(backlight, "duty") / period);
}

json ObjectIn(const std::string& text) {
  json parsed = json::parse(text, nullptr, false);
  return parsed.is_object() ? parsed : json::object();
}

}  // namespace

std::string DescribeShown(const std::string& screen, const std::string& board, std::string_view beeper) {
  const json state = ObjectIn(screen);
  const json variables = state.value("variables", json());
  if (!variables.is_object() || !state.value("svg", json()).is_string()) return {};
  const json view = ObjectIn(board);
  const data_words_t words = WordsFor(static_cast<int>(NumberOf(variables, DATA_STATE_VARIABLE)));
  return base::DumpOrderedJson({{"state", words.state},
                                {"page", state.value("page", json())},
                                {"title", state.value("title", json())},
                                {"link", words.link},
                                {"language", LanguageOf(variables)},
                                {"texts", TextsOf(ReadGlass(state["svg"]))},
                                {"lamps", LitLamps(variables, words)},
                                {"beeper", beeper},
                                {"keys", HeldKeys(view)},
                                {"brightness", BrightnessOf(view)},
                                {"revision", state.value("revision", json())}});
}

}  // namespace unit
