// The load computer's texts in the six languages of the display.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace simulate {

constexpr unsigned LANGUAGES = 6;  // English, Spanish, Portuguese, Chinese, Russian, French
// Columns of the display's text grid; Chinese has fewer because its characters are wider.
constexpr unsigned COLUMNS = 40;
constexpr unsigned CHINESE_COLUMNS = 24;

enum class phrase_t : std::uint8_t {
  ON_TIRES,
  OUTRIGGERS_RETRACTED,
  OUTRIGGERS_HALF,
  OUTRIGGERS_EXTENDED,
  TIRES,  // from here to EXTENDED: the same in a menu
  RETRACTED,
  HALF,
  EXTENDED,
  NO_JIB,
  JIB_STOWED,
  LONG_FLY,  // "#" is the offset in degrees
  SHORT_FLY,
  AUX_OFF,
  AUX_ON,
  MAIN_BOOM,
  AUX_HEAD,
  FLY,
  FRONT_WINCH,
  REAR_WINCH,
  PARTS_OF_LINE,  // "#" is the number
  COUNTERWEIGHT,
  NO_COUNTERWEIGHT,
  MAN_BASKET,
  NO_MAN_BASKET,
  BOOM_TOGETHER,
  BOOM_MANUAL,
  FRONT,
  FRONT_ARC,
  SIDE,
  REAR,
  NEAR_LIMIT,
  OVERLOAD,
  TWO_BLOCK,
  OPERATOR_LIMIT,
  SENSOR_FAULT,
  SILENCED,
  NOTHING_TO_SILENCE,
  NOTHING_TO_SELECT,
  SWING_NUMBER,
  SWING_AREA,
  SWING_CHART,
  SELECTED,
  CONFIGURATION,
  INFO,  // "#" is the page
  ANGLE,
  RADIUS,
  EXTENSION,
  SWING,
  OFF,
  HOOK_HEIGHT,
  HEAD_HEIGHT,
  LINE_SPEED,
  PISTON,
  ROD,
  WIND,
  PROGRAM,
  CHART,
  CALIBRATION,
  COUNT
};

// UTF-8. `language` is 0 to 5.
std::string_view Say(phrase_t text, unsigned language);
// The same with "#" replaced.
std::string Say(phrase_t text, unsigned language, const std::string& value);

}  // namespace simulate
