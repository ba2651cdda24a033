// The states in which a design is checked and shown: values, lamps and texts, in each language.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "unit/screen/design/screen_model.h"

namespace unit {

struct design_scene_t {
  std::string name;
  data_state_t state = DATA_CURRENT;
  std::map<std::string, double> variables;  // beside those that every scene has
  bool longest = false;                     // the longest texts and values that can come, not everyday ones
};

// What the contact sheet shows: normal, pre-alarm, overload, two-block, lost link.
const std::vector<design_scene_t>& SheetScenes();
// The states of the sheet and the extreme ones, with the longest texts.
const std::vector<design_scene_t>& CheckScenes();

// Puts the model into the scene, in the language (0 to 5) and the look.
void ShowScene(ScreenModel& model, const design_scene_t& scene, int language, look_t look);

constexpr int CHINESE = 3;  // its texts have glyphs of full width
const char* LanguageName(int language);

}  // namespace unit
