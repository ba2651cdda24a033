#include "host/protocol/protocol.h"

#include <algorithm>
#include <array>

namespace host {
namespace {

constexpr number_name_t kUnits[] = {{0, "imperial"}, {1, "metric"}};
constexpr number_name_t kLanguages[] = {{0, "english"}, {1, "spanish"}, {2, "portuguese"},
                                        {3, "chinese"}, {4, "russian"}, {5, "french"}};
constexpr number_name_t kSwitch[] = {{0, "off"}, {1, "on"}};
constexpr number_name_t kDisplayModes[] = {{0, "thousands"}, {1, "units"}};
// There is no transition 2.
constexpr number_name_t kTransitions[] = {{0, "wad-to-main"},   {1, "config-to-wad"},   {3, "slate-to-main"},
                                          {4, "wad-to-config"}, {5, "slate-to-config"}, {6, "main-to-wad"},
                                          {7, "slate-to-wad"}};
constexpr number_name_t kSwingModes[] = {{0, "number"}, {1, "front"}, {2, "rear"}, {3, "side"},
                                         {4, "360"},    {5, "n/a"},   {6, "f-arc"}};
constexpr number_name_t kColors[] = {{0, "dark"}, {1, "green"}, {2, "yellow"},
                                     {3, "red"},  {4, "blue"},  {5, "white"}};
constexpr number_name_t kBeeper[] = {{0, "off"}, {255, "continuous"}};
constexpr number_name_t kKeyMasks[] = {{0, "not-valid"}, {1, "no-beep"}, {127, "beep-once"}};
constexpr number_name_t kKeys[] = {{0, "none"},
                                   {1, "boom-mode"},
                                   {2, "winch"},
                                   {3, "counterweight"},
                                   {4, "stowed"},
                                   {5, "alarm-cancel"},
                                   {6, "exit-alarm-main"},
                                   {7, "pol-down"},
                                   {8, "select-1"},
                                   {9, "pol-up"},
                                   {10, "fly"},
                                   {11, "aux"},
                                   {12, "pick"},
                                   {13, "exit-alarm-config"},
                                   {14, "select-3"},
                                   {15, "select-4"},
                                   {16, "outrigger"},
                                   {17, "select-2"},
                                   {18, "info"},
                                   {19, "tires"},
                                   {20, "calibration"},
                                   {21, "swing-mode"},
                                   {22, "man-basket"}};

constexpr std::string_view kTextFields[] = {
    "lcd",           "outriggers",    "jib",           "counterweight", "pickpoint",     "swing-text",
    "aux",           "winch",         "select1-linea", "select1-lineb", "select2-linea", "select2-lineb",
    "select3-linea", "select3-lineb", "select4-linea", "select4-lineb", "line1-left",    "line1-center",
    "line1-right",   "line2-left",    "line2-center",  "line2-right",   "line3-left",    "line3-center",
    "line3-right",   "line4-left",    "line4-center",  "line4-right",   "flash-msg",     "erected",
    "stowed"};

// Within each jib pair the long fly has the lower bit, and the rear winch comes before the front one.
constexpr std::array<std::string_view, 32> kLamps = {"prealarm",
                                                     "overload",
                                                     "a2b",
                                                     "jib-long-fly-0",
                                                     "jib-short-fly-0",
                                                     "jib-long-fly-15",
                                                     "jib-short-fly-15",
                                                     "jib-long-fly-30",
                                                     "jib-short-fly-30",
                                                     "rear-winch",
                                                     "front-winch",
                                                     "counterweight",
                                                     "stowed",
                                                     "boom-mode",
                                                     "aux-head",
                                                     "alarm",
                                                     "tires",
                                                     "outrigger-retracted",
                                                     "outrigger-half",
                                                     "outrigger-extended",
                                                     "pick-main-boom",
                                                     "pick-aux",
                                                     "pick-fly",
                                                     "man-basket",
                                                     "angle-alarm-set",
                                                     "angle-alarm-tripped",
                                                     "radius-alarm-set",
                                                     "radius-alarm-tripped",
                                                     "extension-alarm-set",
                                                     "extension-alarm-tripped",
                                                     "swing-alarm-set",
                                                     "swing-alarm-tripped"};

// Message byte 1 has no meaning.
constexpr field_t kOperatingValues[] = {
    {.name = "capacity",
     .type = FieldType::kFloatBe,
     .offset = 2,
     .size = 4,
     .unit = Unit::kWeight,
     .range = "0 to 999999, shown rounded down to hundreds"},
    {.name = "load",
     .type = FieldType::kFloatBe,
     .offset = 6,
     .size = 4,
     .unit = Unit::kWeight,
     .range = "0 to 999999, shown rounded to hundreds"},
    {.name = "radius",
     .type = FieldType::kFloatBe,
     .offset = 10,
     .size = 4,
     .unit = Unit::kLength,
     .range = "0 to 999.9"},
    {.name = "angle",
     .type = FieldType::kFloatBe,
     .offset = 14,
     .size = 4,
     .unit = Unit::kDegrees,
     .range = "-20 to 999.9"},
    {.name = "extension",
     .type = FieldType::kFloatBe,
     .offset = 18,
     .size = 4,
     .unit = Unit::kLength,
     .range = "0 to 999.9"},
    {.name = "percent",
     .type = FieldType::kFloatBe,
     .offset = 22,
     .size = 4,
     .unit = Unit::kPercent,
     .scale = 0.01,
     .range = "of the safe working load; 85 travels as the fraction 0.85"},
    {.name = "parts-of-line", .offset = 26, .range = "0 to 99"},
    {.name = "led",
     .type = FieldType::kLamps,
     .offset = 27,
     .size = 6,
     .range = "lamps by name with commas between, all, none, or 0x0 to 0xFFFFFFFF"},
    {.name = "swing",
     .type = FieldType::kI16Be,
     .offset = 30,
     .size = 2,
     .unit = Unit::kDegrees,
     .range = "-360 to 360"},
    {.name = "piston-pressure", .type = FieldType::kFloatBe, .offset = 33, .size = 4, .range = "any number"},
    {.name = "rod-pressure", .type = FieldType::kFloatBe, .offset = 37, .size = 4, .range = "any number"},
};

constexpr field_t kDuration[] = {{.name = "duration",
                                  .offset = 1,
                                  .unit = Unit::kTenMilliseconds,
                                  .range = "0 silent, 255 continuous, else on and off for that long",
                                  .names = kBeeper}};
constexpr field_t kPlainByte[] = {{.name = "value", .offset = 1, .range = "0 to 255"}};
// Of the sub-commands of CMD7, whose data begin at byte 2.
constexpr field_t kSubByte[] = {{.name = "value", .offset = 2, .range = "0 to 255"}};
constexpr field_t kSubSwitch[] = {{.name = "value", .offset = 2, .names = kSwitch}};
constexpr field_t kSubKeyMasks[] = {
    {.name = "keys",
     .type = FieldType::kKeyMasks,
     .offset = 2,
     .range = "keys by name (KEY or KEY:MASK) with commas between, the others not valid; all; none"}};
constexpr field_t kSubDisplayMode[] = {{.name = "value", .offset = 2, .names = kDisplayModes}};
constexpr field_t kSubDuration[] = {
    {.name = "duration", .offset = 2, .unit = Unit::kTenMilliseconds, .range = "as beeper", .names = kBeeper}};
constexpr field_t kSubUnits[] = {{.name = "value", .offset = 2, .names = kUnits}};
constexpr field_t kSubLanguage[] = {{.name = "value", .offset = 2, .names = kLanguages}};
constexpr field_t kSubTransition[] = {{.name = "value", .offset = 2, .names = kTransitions}};
constexpr field_t kSubSwingMode[] = {{.name = "value", .offset = 2, .names = kSwingModes}};
constexpr field_t kSubColors[] = {{.name = "tires", .offset = 2, .names = kColors},
                                  {.name = "retracted", .offset = 3, .names = kColors},
                                  {.name = "half", .offset = 4, .names = kColors},
                                  {.name = "extended", .offset = 5, .names = kColors}};

constexpr field_t kKeyState[] = {{.name = "status", .offset = 0},
                                 {.name = "key", .offset = 1, .names = kKeys},
                                 {.name = "last-key", .offset = 2, .names = kKeys}};
constexpr field_t kProgramName[] = {{.name = "name", .type = FieldType::kText, .offset = 0, .size = 8}};
constexpr field_t kProgramDate[] = {{.name = "date", .type = FieldType::kText, .offset = 0, .size = 11}};
constexpr field_t kFileId[] = {{.name = "id", .type = FieldType::kText, .offset = 0, .size = 16}};
constexpr field_t kLcdStatus[] = {{.name = "status", .offset = 0}};
constexpr field_t kLedBrightness[] = {{.name = "level", .offset = 0}};

constexpr command_t kCommands[] = {
    {.number = 0, .name = "initialize-lcd", .about = "not used; the display reports it"},
    {.number = 1, .name = "display-string", .about = "deprecated; the display counts it and does nothing"},
    {.number = 2,
     .name = "operating-values",
     .about = "what the crane does, and the lamps",
     .leastLength = 41,
     .fields = kOperatingValues},
    {.number = 3,
     .name = "flash",
     .about = "flash message of the configuration page",
     .leastLength = 6,
     .layout = Layout::kFlash},
    {.number = 4,
     .name = "beeper",
     .about = "sounds the beeper until changed",
     .leastLength = 2,
     .fields = kDuration},
    {.number = 5,
     .name = "texts",
     .about = "texts of the display; fields that are not named become empty",
     .leastLength = 8,
     .layout = Layout::kTexts},
    {.number = 6, .name = "key-state", .about = "asks for the next key press", .reply = {1, kKeyState}},
    {.number = 7,
     .sub = 1,
     .name = "valid-keys",
     .about = "which host keys may be pressed",
     .leastLength = 3,
     .fields = kSubKeyMasks},
    {.number = 7,
     .sub = 2,
     .name = "brightness-adjust",
     .about = "allows brightness and contrast to be adjusted",
     .leastLength = 3,
     .fields = kSubSwitch},
    {.number = 7,
     .sub = 3,
     .name = "program-name",
     .about = "asks for the program's name",
     .leastLength = 2,
     .reply = {2, kProgramName}},
    {.number = 7,
     .sub = 4,
     .name = "program-date",
     .about = "asks for the program's build date",
     .leastLength = 2,
     .reply = {2, kProgramDate}},
    {.number = 7,
     .sub = 5,
     .name = "file-id",
     .about = "asks for the program's version",
     .leastLength = 2,
     .reply = {3, kFileId}},
    {.number = 7,
     .sub = 6,
     .name = "max-parts-of-line",
     .about = "not used; the display reports it",
     .leastLength = 3,
     .fields = kSubByte},
    {.number = 7,
     .sub = 7,
     .name = "lcd-status",
     .about = "asks for the screen's state",
     .leastLength = 2,
     .reply = {1, kLcdStatus}},
    {.number = 7,
     .sub = 8,
     .name = "display-mode",
     .about = "weights in thousands or units",
     .leastLength = 3,
     .fields = kSubDisplayMode},
    {.number = 7,
     .sub = 9,
     .name = "led-brightness",
     .about = "asks for the lamps' brightness",
     .leastLength = 2,
     .reply = {1, kLedBrightness}},
    {.number = 7,
     .sub = 10,
     .name = "beep-duration",
     .about = "does what beeper does",
     .leastLength = 3,
     .fields = kSubDuration},
    {.number = 7,
     .sub = 11,
     .name = "units",
     .about = "units of the operating values",
     .leastLength = 3,
     .fields = kSubUnits},
    {.number = 7,
     .sub = 12,
     .name = "display-type",
     .about = "kind of display",
     .leastLength = 3,
     .fields = kSubByte},
    {.number = 7,
     .sub = 13,
     .name = "language",
     .about = "language of the display's own texts, and the text grid",
     .leastLength = 3,
     .fields = kSubLanguage},
    {.number = 7,
     .sub = 14,
     .name = "select-mode",
     .about = "selection keys",
     .leastLength = 3,
     .fields = kSubSwitch},
    {.number = 7,
     .sub = 15,
     .name = "transition",
     .about = "asks for another page",
     .leastLength = 3,
     .fields = kSubTransition},
    {.number = 7,
     .sub = 16,
     .name = "erected-icon",
     .about = "icon of the erected jib",
     .leastLength = 3,
     .fields = kSubByte},
    {.number = 7,
     .sub = 17,
     .name = "stowed-icon",
     .about = "icon of the stowed jib",
     .leastLength = 3,
     .fields = kSubByte},
    {.number = 7,
     .sub = 18,
     .name = "colors",
     .about = "colours of the tires and outrigger lamps: tires, retracted, half, extended",
     .leastLength = 6,
     .fields = kSubColors},
    {.number = 7,
     .sub = 19,
     .name = "swing-mode",
     .about = "swing as a number or a word",
     .leastLength = 3,
     .fields = kSubSwingMode},
    {.number = 8,
     .name = "protocol-version",
     .about = "version of this protocol",
     .leastLength = 2,
     .fields = kPlainByte},
    {.number = 9,
     .name = "encryption",
     .about = "dynamic encryption method",
     .leastLength = 2,
     .fields = kPlainByte},
};

}  // namespace

std::span<const command_t> Commands() {
  return kCommands;
}

const command_t* FindCommand(std::uint8_t number, int sub) {
  const auto* found =
      std::ranges::find_if(kCommands, [&](const command_t& c) { return c.number == number && c.sub == sub; });
  return found == std::end(kCommands) ? nullptr : found;
}

const command_t* FindCommand(std::string_view name) {
  const auto* found = std::ranges::find(kCommands, name, &command_t::name);
  return found == std::end(kCommands) ? nullptr : found;
}

const command_t* FindCommand(std::span<const std::uint8_t> message) {
  if (message.empty()) return nullptr;
  if (message[0] != kExtendedCommand) return FindCommand(message[0], kNoSub);
  return message.size() < 2 ? nullptr : FindCommand(message[0], message[1]);
}

const command_t& OperatingValuesCommand() {
  return kCommands[2];
}
const command_t& FlashCommand() {
  return kCommands[3];
}
const command_t& TextsCommand() {
  return kCommands[5];
}

std::span<const std::string_view> TextFieldNames() {
  return kTextFields;
}

std::optional<std::uint8_t> FindTextField(std::string_view name) {
  const auto* found = std::ranges::find(kTextFields, name);
  if (found == std::end(kTextFields)) return std::nullopt;
  return static_cast<std::uint8_t>(found - kTextFields);
}

std::span<const std::string_view> LampNames() {
  return kLamps;
}
std::span<const number_name_t> HostKeyNames() {
  return kKeys;
}
std::span<const number_name_t> KeyMaskNames() {
  return kKeyMasks;
}

std::string_view NameOf(std::span<const number_name_t> names, unsigned number) {
  const auto found = std::ranges::find(names, number, &number_name_t::number);
  return found == names.end() ? std::string_view() : found->name;
}

std::optional<std::uint8_t> NumberOf(std::span<const number_name_t> names, std::string_view name) {
  const auto found = std::ranges::find(names, name, &number_name_t::name);
  if (found == names.end()) return std::nullopt;
  return found->number;
}

const char* UnitName(Unit unit) {
  switch (unit) {
    case Unit::kWeight:
      return "weight";
    case Unit::kLength:
      return "length";
    case Unit::kDegrees:
      return "deg";
    case Unit::kPercent:
      return "%";
    case Unit::kTenMilliseconds:
      return "x 10 ms";
    default:
      return "";
  }
}

}  // namespace host
