#include "unit/design/design_scenes.h"

#include <array>
#include <cmath>
#include <optional>
#include <string_view>
#include <utility>

namespace unit {
namespace {

constexpr std::size_t LANGUAGES = WORD_LANGUAGES;
constexpr std::array<const char*, LANGUAGES> LANGUAGE_NAMES{"English", "Spanish", "Portuguese",
                                                            "Chinese", "Russian", "French"};
// The longer of the two systems' units, as the application writes them.
constexpr std::array<const char*, LANGUAGES> WEIGHTS{"kgs", "libras", "libras", "kgs", "kgs", "livres"};
constexpr std::array<const char*, LANGUAGES> DISTANCES{"meters", "metros", "metros",
                                                       "meters", "meters", "meters"};
constexpr std::array<const char*, LANGUAGES> LINES{
    "OUTRIGGERS 100%          MAIN BOOM HOIST",  "ESTABILIZADORES 100%     CABRESTANTE PPAL",
    "ESTABILIZADORES 100%   GUINCHO PRINCIPAL",  "支腿全伸　主臂卷扬",
    "ОПОРЫ ВЫДВИНУТЫ 100%      ГЛАВНАЯ ЛЕБЁДКА", "STABILISATEURS 100%      TREUIL PRINCIPAL"};

struct value_text_t {
  std::string_view end;  // of the widget's name
  const char* everyday;
  const char* longest;
};
constexpr std::array<value_text_t, 6> VALUES{{{"Load", "12,300", "888,800"},
                                              {"Capacity", "14,400", "888,800"},
                                              {"Extension", "82.0", "999.9"},
                                              {"Angle", "62.1", "-20.0"},
                                              {"Radius", "35.4", "999.9"},
                                              {"Swing", "-24", "F-ARC"}}};

constexpr std::array<const char*, 28> LAMPS{"OrvikPickMainBoom",
                                            "OrvikPickAux",
                                            "OrvikPickFly",
                                            "OrvikJibShortFly0",
                                            "OrvikJibLongFly0",
                                            "OrvikJibShortFly15",
                                            "OrvikJibLongFly15",
                                            "OrvikJibShortFly30",
                                            "OrvikJibLongFly30",
                                            "OrvikFrontWinch",
                                            "OrvikRearWinch",
                                            "OrvikCounterweight",
                                            "OrvikStowed",
                                            "OrvikBoomMode",
                                            "OrvikAuxHead",
                                            "OrvikAlarmSet",
                                            "OrvikPreAlarm",
                                            "OrvikOverload",
                                            "OrvikA2B",
                                            "OrvikAngleAlarmSet",
                                            "OrvikAngleAlarmTripped",
                                            "OrvikRadiusAlarmSet",
                                            "OrvikRadiusAlarmTripped",
                                            "OrvikExtensionAlarmSet",
                                            "OrvikExtensionAlarmTripped",
                                            "OrvikSwingAlarmSet",
                                            "OrvikSwingAlarmTripped",
                                            "OrvikManBasket"};
constexpr std::array<const char*, 4> COLORED_LAMPS{"OrvikTires", "OrvikOutriggerRetracted",
                                                   "OrvikOutriggerHalf", "OrvikOutriggerExtended"};

// The numbers that the fault page has words for, with one that it has none for, and the widest.
constexpr std::array<double, 13> FAULT_SOURCES{0, 1, 3, 11, 15, 16, 19, 23, 33, 39, 61, 208, 253};
constexpr std::array<double, 25> FAULT_SPNS{91,  94,  96,  97,   98,   100,  102,   105, 107,
                                            110, 111, 157, 158,  168,  174,  175,   177, 190,
                                            627, 629, 639, 1569, 1761, 3251, 524286};
constexpr double FAULT_FMIS = 32;

// Sets the fault page to the state, with codes on its first `lines` lines. `first` counts through the words, so
// that consecutive scenes show all of them.
void SetFaults(std::map<std::string, double>& values, fault_state_t state, std::size_t lines,
               std::size_t first) {
  values[FAULT_STATE_VARIABLE] = state;
  values[FAULT_NUMBER_VARIABLE] = static_cast<double>(lines);
  for (std::size_t lamp = 0; lamp < FAULT_LAMP_VARIABLES.size(); ++lamp) {
    values[FAULT_LAMP_VARIABLES.at(lamp)] = lamp < lines ? 1 : 0;
  }
  for (std::size_t line = 0; line < FAULT_LINES; ++line) {
    const std::size_t at = first + line;
    const bool filled = line < lines;
    values[FaultVariable(line, FAULT_SOURCE)] = FAULT_SOURCES.at(at % FAULT_SOURCES.size());
    values[FaultVariable(line, FAULT_SPN)] = FAULT_SPNS.at(at % FAULT_SPNS.size());
    values[FaultVariable(line, FAULT_FMI)] = filled ? std::fmod(static_cast<double>(at), FAULT_FMIS) : NAN;
    values[FaultVariable(line, FAULT_COUNT)] = 126;
  }
}

design_scene_t WithFaults(design_scene_t scene, fault_state_t state, std::size_t lines, std::size_t first) {
  SetFaults(scene.variables, state, lines, first);
  return scene;
}

// Everything that the host can light at once, and values of the greatest width.
std::map<std::string, double> AllLit(double color) {
  std::map<std::string, double> lit{{"OrvikPercentSafeWorkingLoad", 9.99},
                                    {"OrvikPartsOfLine", -999},
                                    {"OrvikRodPressure", -999.9},
                                    {"OrvikPistonPressure", 9999.9},
                                    {"OrvikErectedIcon", 255},
                                    {"OrvikStowedIcon", 255},
                                    {"OrvikBeepImage", 2},
                                    {"OrvikECUTimeOutLamp", 2},
                                    {"OrvikSwing", -359}};
  for (const char* name : LAMPS) lit[name] = 1;
  for (const char* name : COLORED_LAMPS) lit[name] = color;
  return lit;
}

// What every scene sets, so that nothing stays from the one before.
std::map<std::string, double> Ground(const design_scene_t& scene, int language) {
  std::map<std::string, double> values = AllLit(0);
  for (auto& [name, value] : values) value = 0;
  const std::map<std::string, double> usual{{"OrvikPercentSafeWorkingLoad", 0.85},
                                            {"OrvikPartsOfLine", 4},
                                            {"OrvikOutriggerExtended", 1},
                                            {"OrvikPickMainBoom", 1},
                                            {"OrvikFrontWinch", 1},
                                            {"OrvikStowed", 1},
                                            {"OrvikStowedIcon", 1},
                                            {"OrvikRodPressure", 12.5},
                                            {"OrvikPistonPressure", 112.5},
                                            {"OrvikAngle", 62.1},
                                            {"OrvikSwing", -24},
                                            {"OrvikECUTimeOutLamp", 1},
                                            {"RealTimeClock.IsAvailable", 1},
                                            {"RealTimeClock.Hour", 14},
                                            {"RealTimeClock.Minute", 32},
                                            {"RealTimeClock.Second", 58},
                                            {"RealTimeClock.Year", 2026},
                                            {"RealTimeClock.Month", 11},
                                            {"RealTimeClock.Day", 22}};
  for (const auto& [name, value] : usual) values[name] = value;
  for (const auto& [name, value] : scene.variables) values[name] = value;
  values[LANGUAGE_VARIABLE] = language;
  values[LINK_VARIABLE] = scene.state == DATA_LINK_LOST ? 2 : 1;
  return values;
}

std::optional<std::string> SceneLineText(const std::string& widget, int language) {
  const bool wide = widget.ends_with("Wide");
  if (!wide && !widget.ends_with("Std")) return std::nullopt;
  if (wide != (language == CHINESE)) return "";
  const std::string line = LINES.at(static_cast<std::size_t>(language));
  const bool placed = widget.find("Erected") != std::string::npos || widget.find("Stowed") != std::string::npos;
  if (wide) return placed ? "已装主臂和副臂吊篮配重支腿全" : line + "已装主臂和副臂吊篮配重支";
  return line;
}

std::string WidgetText(const std::string& widget, const design_scene_t& scene, int language) {
  if (const auto line = SceneLineText(widget, language)) return *line;
  const auto index = static_cast<std::size_t>(language);
  if (widget.ends_with("UnitsWeight")) return WEIGHTS.at(index);
  if (widget.ends_with("UnitsDistance")) return DISTANCES.at(index);
  for (const value_text_t& value : VALUES) {
    if (widget.ends_with(value.end)) return scene.longest ? value.longest : value.everyday;
  }
  return "";
}

}  // namespace

const std::vector<design_scene_t>& SheetScenes() {
  static const std::vector<design_scene_t> SCENES{
      WithFaults({"normal", DATA_CURRENT, {}, false}, FAULTS_ACTIVE, 3, 5),
      WithFaults(
          {"pre-alarm", DATA_CURRENT, {{"OrvikPercentSafeWorkingLoad", 0.95}, {"OrvikPreAlarm", 1}}, false},
          FAULTS_NONE, 0, 0),
      WithFaults({"overload",
                  DATA_CURRENT,
                  {{"OrvikPercentSafeWorkingLoad", 1.12}, {"OrvikOverload", 1}, {"OrvikBeepImage", 1}},
                  false},
                 FAULTS_ACTIVE, FAULT_LINES, 0),
      WithFaults({"two-block",
                  DATA_CURRENT,
                  {{"OrvikPercentSafeWorkingLoad", 0.45}, {"OrvikA2B", 1}, {"OrvikBeepImage", 2}},
                  false},
                 FAULTS_NOT_HEARD, 0, 0),
      WithFaults({"lost link", DATA_LINK_LOST, {}, false}, FAULTS_ACTIVE, 1, 9)};
  return SCENES;
}

namespace {

std::vector<design_scene_t> MakeCheckScenes() {
  std::vector<design_scene_t> scenes = SheetScenes();
  for (design_scene_t& scene : scenes) scene.longest = true;
  for (int color = 1; color <= 5; ++color) {
    scenes.push_back({"all lamps, colour " + std::to_string(color), DATA_CURRENT, AllLit(color), true});
  }
  scenes.push_back({"program silent", DATA_PROGRAM_SILENT, {}, true});
  scenes.push_back({"host not heard", DATA_HOST_NOT_HEARD, {}, true});
  scenes.push_back({"values old", DATA_VALUES_OLD, {}, true});
  scenes.push_back({"dark",
                    DATA_CURRENT,
                    {{"RealTimeClock.IsAvailable", 0},
                     {"OrvikOutriggerExtended", 0},
                     {"OrvikPickMainBoom", 0},
                     {"OrvikFrontWinch", 0},
                     {"OrvikStowed", 0}},
                    true});
  std::size_t first = 0;
  for (design_scene_t& scene : scenes) {
    const auto state = scene.variables.find(FAULT_STATE_VARIABLE);
    if (state != scene.variables.end() && static_cast<int>(state->second) != FAULTS_ACTIVE) continue;
    SetFaults(scene.variables, FAULTS_ACTIVE, FAULT_LINES, first);
    first += FAULT_LINES;
  }
  return scenes;
}

}  // namespace

const std::vector<design_scene_t>& CheckScenes() {
  static const std::vector<design_scene_t> SCENES = MakeCheckScenes();
  return SCENES;
}

void ShowScene(ScreenModel& model, const design_scene_t& scene, int language, look_t look) {
  model.SetVariable(BRIGHTNESS_VARIABLE, look == LOOK_DAY ? 100 : 20);
  for (const auto& [name, value] : Ground(scene, language)) model.SetVariable(name, value);
  for (const auto& [handle, widget] : model.Names().widgets) {
    screen_command_t command;
    command.target = handle;
    command.operation = SCREEN_SET_TEXT;
    command.number = SCREEN_TEXT_RIGHT;
    command.text = WidgetText(widget, scene, language);
    model.Accept(std::move(command));
  }
  model.ProcessCommands();
  model.SetDataState(scene.state);
}

const char* LanguageName(int language) {
  return LANGUAGE_NAMES.at(static_cast<std::size_t>(language));
}

}  // namespace unit
