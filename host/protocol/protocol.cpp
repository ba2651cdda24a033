#include "host/protocol/protocol.h"

#include <algorithm>
#include <array>

#include "expect/shown_names.h"

namespace host {
namespace {

// In the order of unit_t.
constexpr std::array<unit_words_t, 6> UNIT_WORDS = {{
    {"", ""},
    {"weight", "lbs or kgs as units says", {"lbs", "kgs"}},
    {"length", "feet or meters as units says", {"feet", "meters"}},
    {"deg", "degrees"},
    {"%", "%"},
    {"x 10 ms", "in steps of 10 ms"},
}};

constexpr number_name_t UNITS[] = {{0, "imperial"}, {1, "metric"}};
constexpr auto LANGUAGES = [] {
  std::array<number_name_t, expect::LANGUAGE_NAMES.size()> names{};
  for (std::uint8_t number = 0; number < names.size(); ++number)
    names.at(number) = {number, expect::LANGUAGE_NAMES.at(number)};
  return names;
}();
constexpr number_name_t SWITCH[] = {{0, "off"}, {1, "on"}};
constexpr number_name_t DISPLAY_MODES[] = {{0, "thousands"}, {1, "units"}};
// The protocol has no transition 2.
constexpr number_name_t TRANSITIONS[] = {{0, "wad-to-main"},   {1, "config-to-wad"},   {3, "slate-to-main"},
                                         {4, "wad-to-config"}, {5, "slate-to-config"}, {6, "main-to-wad"},
                                         {7, "slate-to-wad"}};
constexpr number_name_t SWING_MODES[] = {{0, "number"}, {1, "front"}, {2, "rear"}, {3, "side"},
                                         {4, "360"},    {5, "n/a"},   {6, "f-arc"}};
constexpr number_name_t COLORS[] = {{0, "dark"}, {1, "green"}, {2, "yellow"},
                                    {3, "red"},  {4, "blue"},  {5, "white"}};
constexpr number_name_t BEEPER[] = {{0, "off"}, {255, "continuous"}};
constexpr number_name_t KEY_MASKS[] = {{0, "not-valid"}, {1, "no-beep"}, {127, "beep-once"}};
constexpr number_name_t KEYS[] = {{0, "none"},
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

constexpr std::string_view TEXT_FIELDS[] = {
    "lcd",           "outriggers",    "jib",           "counterweight", "pickpoint",     "swing-text",
    "aux",           "winch",         "select1-linea", "select1-lineb", "select2-linea", "select2-lineb",
    "select3-linea", "select3-lineb", "select4-linea", "select4-lineb", "line1-left",    "line1-center",
    "line1-right",   "line2-left",    "line2-center",  "line2-right",   "line3-left",    "line3-center",
    "line3-right",   "line4-left",    "line4-center",  "line4-right",   "flash-msg",     "erected",
    "stowed"};

// The display ignores byte 1 of the message.
constexpr field_t OPERATING_VALUES[] = {
    {.name = "capacity",
     .type = field_type_t::FLOAT_BE,
     .offset = 2,
     .size = 4,
     .unit = unit_t::WEIGHT,
     .range = "0 to 999999, shown rounded down to hundreds"},
    {.name = "load",
     .type = field_type_t::FLOAT_BE,
     .offset = 6,
     .size = 4,
     .unit = unit_t::WEIGHT,
     .range = "0 to 999999, shown rounded to hundreds"},
    {.name = "radius",
     .type = field_type_t::FLOAT_BE,
     .offset = 10,
     .size = 4,
     .unit = unit_t::LENGTH,
     .range = "0 to 999.9"},
    {.name = "angle",
     .type = field_type_t::FLOAT_BE,
     .offset = 14,
     .size = 4,
     .unit = unit_t::DEGREES,
     .range = "-20 to 999.9"},
    {.name = "extension",
     .type = field_type_t::FLOAT_BE,
     .offset = 18,
     .size = 4,
     .unit = unit_t::LENGTH,
     .range = "0 to 999.9"},
    {.name = "percent",
     .type = field_type_t::FLOAT_BE,
     .offset = 22,
     .size = 4,
     .unit = unit_t::PERCENT,
     .scale = 0.01,
     .range = "of the safe working load; 85 travels as the fraction 0.85"},
    {.name = "parts-of-line", .offset = 26, .range = "0 to 99"},
    {.name = "led",
     .type = field_type_t::LAMPS,
     .offset = 27,
     .size = 6,
     .range = "lamps by name with commas between, all, none, or 0x0 to 0xFFFFFFFF"},
    {.name = "swing",
     .type = field_type_t::I16_BE,
     .offset = 30,
     .size = 2,
     .unit = unit_t::DEGREES,
     .range = "-360 to 360"},
    {.name = "piston-pressure", .type = field_type_t::FLOAT_BE, .offset = 33, .size = 4, .range = "any number"},
    {.name = "rod-pressure", .type = field_type_t::FLOAT_BE, .offset = 37, .size = 4, .range = "any number"},
};

constexpr field_t DURATION[] = {{.name = "duration",
                                 .offset = 1,
                                 .unit = unit_t::TEN_MILLISECONDS,
                                 .range = "0 silent, 255 continuous, else on and off for that long",
                                 .names = BEEPER}};
constexpr field_t PLAIN_BYTE[] = {{.name = "value", .offset = 1, .range = "0 to 255"}};
// Fields of the sub-commands of CMD7; their data begin at byte 2.
constexpr field_t SUB_BYTE[] = {{.name = "value", .offset = 2, .range = "0 to 255"}};
constexpr field_t SUB_SWITCH[] = {{.name = "value", .offset = 2, .names = SWITCH}};
constexpr field_t SUB_KEY_MASKS[] = {
    {.name = "keys",
     .type = field_type_t::KEY_MASKS,
     .offset = 2,
     .range = "keys by name (KEY or KEY:MASK) with commas between, the others not valid; all; none"}};
constexpr field_t SUB_DISPLAY_MODE[] = {{.name = "value", .offset = 2, .names = DISPLAY_MODES}};
constexpr field_t SUB_DURATION[] = {
    {.name = "duration", .offset = 2, .unit = unit_t::TEN_MILLISECONDS, .range = "as beeper", .names = BEEPER}};
constexpr field_t SUB_UNITS[] = {{.name = "value", .offset = 2, .names = UNITS}};
constexpr field_t SUB_LANGUAGE[] = {{.name = "value", .offset = 2, .names = LANGUAGES}};
constexpr field_t SUB_TRANSITION[] = {{.name = "value", .offset = 2, .names = TRANSITIONS}};
constexpr field_t SUB_SWING_MODE[] = {{.name = "value", .offset = 2, .names = SWING_MODES}};
constexpr field_t SUB_COLORS[] = {{.name = "tires", .offset = 2, .names = COLORS},
                                  {.name = "retracted", .offset = 3, .names = COLORS},
                                  {.name = "half", .offset = 4, .names = COLORS},
                                  {.name = "extended", .offset = 5, .names = COLORS}};

constexpr field_t KEY_STATE[] = {{.name = "status", .offset = 0},
                                 {.name = "key", .offset = 1, .names = KEYS},
                                 {.name = "last-key", .offset = 2, .names = KEYS}};
constexpr field_t PROGRAM_NAME[] = {{.name = "name", .type = field_type_t::TEXT, .offset = 0, .size = 8}};
constexpr field_t PROGRAM_DATE[] = {{.name = "date", .type = field_type_t::TEXT, .offset = 0, .size = 11}};
constexpr field_t FILE_ID[] = {{.name = "id", .type = field_type_t::TEXT, .offset = 0, .size = 16}};
constexpr field_t LCD_STATUS[] = {{.name = "status", .offset = 0}};
constexpr field_t LED_BRIGHTNESS[] = {{.name = "level", .offset = 0}};

constexpr command_t COMMANDS[] = {
    {.number = 0, .name = "initialize-lcd", .about = "not used; the display reports it"},
    {.number = 1, .name = "display-string", .about = "deprecated; the display counts it and does nothing"},
    {.number = 2,
     .name = "operating-values",
     .about = "what the crane does, and the lamps",
     .leastLength = 41,
     .fields = OPERATING_VALUES},
    {.number = 3,
     .name = "flash",
     .about = "flash message of the configuration page",
     .leastLength = 6,
     .layout = message_layout_t::FLASH},
    {.number = 4,
     .name = "beeper",
     .about = "sounds the beeper until changed",
     .leastLength = 2,
     .fields = DURATION},
    {.number = 5,
     .name = "texts",
     .about = "texts of the display; fields that are not named become empty",
     .leastLength = 8,
     .layout = message_layout_t::TEXTS},
    {.number = 6, .name = "key-state", .about = "asks for the next key press", .reply = {1, KEY_STATE}},
    {.number = 7,
     .sub = 1,
     .name = "valid-keys",
     .about = "which host keys may be pressed",
     .leastLength = 3,
     .fields = SUB_KEY_MASKS},
    {.number = 7,
     .sub = 2,
     .name = "brightness-adjust",
     .about = "allows brightness and contrast to be adjusted",
     .leastLength = 3,
     .fields = SUB_SWITCH},
    {.number = 7,
     .sub = 3,
     .name = "program-name",
     .about = "asks for the program's name",
     .leastLength = 2,
     .reply = {2, PROGRAM_NAME}},
    {.number = 7,
     .sub = 4,
     .name = "program-date",
     .about = "asks for the program's build date",
     .leastLength = 2,
     .reply = {2, PROGRAM_DATE}},
    {.number = 7,
     .sub = 5,
     .name = "file-id",
     .about = "asks for the program's version",
     .leastLength = 2,
     .reply = {3, FILE_ID}},
    {.number = 7,
     .sub = 6,
     .name = "max-parts-of-line",
     .about = "not used; the display reports it",
     .leastLength = 3,
     .fields = SUB_BYTE},
    {.number = 7,
     .sub = 7,
     .name = "lcd-status",
     .about = "asks for the screen's state",
     .leastLength = 2,
     .reply = {1, LCD_STATUS}},
    {.number = 7,
     .sub = 8,
     .name = "display-mode",
     .about = "weights in thousands or units",
     .leastLength = 3,
     .fields = SUB_DISPLAY_MODE},
    {.number = 7,
     .sub = 9,
     .name = "led-brightness",
     .about = "asks for the lamps' brightness",
     .leastLength = 2,
     .reply = {1, LED_BRIGHTNESS}},
    {.number = 7,
     .sub = 10,
     .name = "beep-duration",
     .about = "does what beeper does",
     .leastLength = 3,
     .fields = SUB_DURATION},
    {.number = 7,
     .sub = 11,
     .name = "units",
     .about = "units of the operating values",
     .leastLength = 3,
     .fields = SUB_UNITS},
    {.number = 7,
     .sub = 12,
     .name = "display-type",
     .about = "kind of display",
     .leastLength = 3,
     .fields = SUB_BYTE},
    {.number = 7,
     .sub = 13,
     .name = "language",
     .about = "language of the display's own texts, and the text grid",
     .leastLength = 3,
     .fields = SUB_LANGUAGE},
    {.number = 7,
     .sub = 14,
     .name = "select-mode",
     .about = "selection keys",
     .leastLength = 3,
     .fields = SUB_SWITCH},
    {.number = 7,
     .sub = 15,
     .name = "transition",
     .about = "asks for another page",
     .leastLength = 3,
     .fields = SUB_TRANSITION},
    {.number = 7,
     .sub = 16,
     .name = "erected-icon",
     .about = "icon of the erected jib",
     .leastLength = 3,
     .fields = SUB_BYTE},
    {.number = 7,
     .sub = 17,
     .name = "stowed-icon",
     .about = "icon of the stowed jib",
     .leastLength = 3,
     .fields = SUB_BYTE},
    {.number = 7,
     .sub = 18,
     .name = "colors",
     .about = "colours of the tires and outrigger lamps: tires, retracted, half, extended",
     .leastLength = 6,
     .fields = SUB_COLORS},
    {.number = 7,
     .sub = 19,
     .name = "swing-mode",
     .about = "swing as a number or a word",
     .leastLength = 3,
     .fields = SUB_SWING_MODE},
    {.number = 8,
     .name = "protocol-version",
     .about = "version of this protocol",
     .leastLength = 2,
     .fields = PLAIN_BYTE},
    {.number = 9,
     .name = "encryption",
     .about = "dynamic encryption method",
     .leastLength = 2,
     .fields = PLAIN_BYTE},
};

}  // namespace

std::span<const command_t> Commands() {
  return COMMANDS;
}

const command_t* FindCommand(std::uint8_t number, int sub) {
  const auto* found =
      std::ranges::find_if(COMMANDS, [&](const command_t& c) { return c.number == number && c.sub == sub; });
  return found == std::end(COMMANDS) ? nullptr : found;
}

const command_t* FindCommand(std::string_view name) {
  const auto* found = std::ranges::find(COMMANDS, name, &command_t::name);
  return found == std::end(COMMANDS) ? nullptr : found;
}

const command_t* FindCommand(std::span<const std::uint8_t> message) {
  if (message.empty()) return nullptr;
  if (message[0] != EXTENDED_COMMAND) return FindCommand(message[0], NO_SUB);
  return message.size() < 2 ? nullptr : FindCommand(message[0], message[1]);
}

// CMD0 to CMD6 have the rows of their numbers.
static_assert(COMMANDS[2].number == 2 && COMMANDS[3].number == 3 && COMMANDS[5].number == 5);

const command_t& OperatingValuesCommand() {
  return COMMANDS[2];
}
const command_t& FlashCommand() {
  return COMMANDS[3];
}
const command_t& TextsCommand() {
  return COMMANDS[5];
}

std::span<const std::string_view> TextFieldNames() {
  return TEXT_FIELDS;
}

std::optional<std::uint8_t> FindTextField(std::string_view name) {
  const auto* found = std::ranges::find(TEXT_FIELDS, name);
  if (found == std::end(TEXT_FIELDS)) return std::nullopt;
  return static_cast<std::uint8_t>(found - TEXT_FIELDS);
}

std::span<const std::string_view> LampNames() {
  return expect::LAMP_NAMES;
}
std::span<const number_name_t> HostKeyNames() {
  return KEYS;
}
std::span<const number_name_t> KeyMaskNames() {
  return KEY_MASKS;
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

const unit_words_t& WordsOf(unit_t unit) {
  return UNIT_WORDS[static_cast<std::size_t>(unit)];
}

}  // namespace host
