// The load computer's own words in the six languages of the display.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace simulate {

constexpr unsigned kLanguages = 6;  // English, Spanish, Portuguese, Chinese, Russian, French
// Columns of the display's grid; Chinese characters are wider.
constexpr unsigned kColumns = 40;
constexpr unsigned kChineseColumns = 24;

enum class Text : std::uint8_t {
  kOnTires,
  kOutriggersRetracted,
  kOutriggersHalf,
  kOutriggersExtended,
  kTires,  // the same in a menu
  kRetracted,
  kHalf,
  kExtended,
  kNoJib,
  kJibStowed,
  kLongFly,  // "#" is the offset in degrees
  kShortFly,
  kAuxOff,
  kAuxOn,
  kMainBoom,
  kAuxHead,
  kFly,
  kFrontWinch,
  kRearWinch,
  kPartsOfLine,  // "#" is the number
  kCounterweight,
  kNoCounterweight,
  kManBasket,
  kNoManBasket,
  kBoomTogether,
  kBoomManual,
  kFront,
  kFrontArc,
  kSide,
  kRear,
  kNearLimit,
  kOverload,
  kTwoBlock,
  kOperatorLimit,
  kSensorFault,
  kSilenced,
  kNothingToSilence,
  kNothingToSelect,
  kSwingNumber,
  kSwingArea,
  kSwingChart,
  kSelected,
  kConfiguration,
  kInfo,  // "#" is the page
  kAngle,
  kRadius,
  kExtension,
  kSwing,
  kOff,
  kHookHeight,
  kHeadHeight,
  kLineSpeed,
  kPiston,
  kRod,
  kWind,
  kProgram,
  kChart,
  kCalibration,
  kCount
};

// UTF-8. `language` is 0 to 5.
std::string_view Say(Text text, unsigned language);
// The same with "#" replaced.
std::string Say(Text text, unsigned language, const std::string& value);

}  // namespace simulate
