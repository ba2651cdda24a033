// The name tables of the application: actions and pages, events, host keys, key commands, languages.
//
// Constant data. The look-up functions return "Unknown" for an index outside a table.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

// Actions of the screen service. The page entries serve as page identifiers too.
enum action_id_t : int {
  ACTION_PAGE_NONE = 0,
  ACTION_PAGE_MAIN = 1,
  ACTION_PAGE_CONFIG = 2,
  ACTION_PAGE_DASH = 3,
  ACTION_PAGE_POL_POPUP = 4,
  ACTION_PAGE_BRIGHTNESS_POPUP = 5,
  ACTION_PAGE_DM1_POPUP = 6,
  ACTION_PAGE_CHOICE_POPUP = 7,
  ACTION_PAGE_CHOICE4TOP_POPUP = 8,
  ACTION_PAGE_CHOICE4MID_POPUP = 9,
  ACTION_PAGE_CHOICE4BOT_POPUP = 10,
  ACTION_CLEAR_LAYER = 11,
  ACTION_IGNITION_ON = 12,
  ACTION_IGNITION_OFF = 13,
  ACTION_PAGE_SLATE = 14,
  ACTION_PAGE_SPLASH = 15,
  ACTION_EXIT_APPLICATION = 16,
  ACTION_PAGE_RTC = 17,
  ACTION_KEY_PRESS_CHANGED = 18,
  ACTION_PAGE_ENGINE = 19,
  ACTION_PAGE_VIDEO = 20,
  ACTION_PAGE_GAUGES = 21,
  ACTION_PAGE_OSTREM = 22,
  ACTION_PAGE_VARIANTS = 23,
  ACTION_MAIN_ENABLE_INDEPTH = 24,
  ACTION_MAIN_DISABLE_INDEPTH = 25,
  ACTION_MAIN_ENABLE_INCLINOMETER = 26,
  ACTION_MAIN_DISABLE_INCLINOMETER = 27,
  ACTION_MAIN_ENABLE_HYDRAULICS = 28,
  ACTION_MAIN_DISABLE_HYDRAULICS = 29,
  ACTION_PAGE_BLANK = 30,
  ACTION_PAGE_WAD = 31,
  ACTION_PAGE_MVEC = 32,
  ACTION_PAGE_DIALS = 33,
  ACTION_PAGE_DIALS_REFRESH = 34,
  ACTION_COUNT = 35,  // number of actions; "NumActions" in the table
};

// Host key codes, as the key bindings hold them and as the display reports them to the host; indices into
// TARGET_KEY_NAMES.
enum host_key_code_t : std::uint8_t {
  HOST_KEY_NONE = 0,
  HOST_KEY_BOOM_MODE = 1,
  HOST_KEY_WINCH = 2,
  HOST_KEY_COUNTERWEIGHT = 3,
  HOST_KEY_STOWED = 4,
  HOST_KEY_ALARM_CANCEL = 5,
  HOST_KEY_EXIT_ALARM_MAIN = 6,
  HOST_KEY_POL_DOWN = 7,
  HOST_KEY_SELECT_1 = 8,
  HOST_KEY_POL_UP = 9,
  HOST_KEY_FLY = 10,
  HOST_KEY_AUX = 11,
  HOST_KEY_PICK = 12,
  HOST_KEY_EXIT_ALARM_CONFIG = 13,
  HOST_KEY_SELECT_3 = 14,
  HOST_KEY_SELECT_4 = 15,
  HOST_KEY_OUTRIGGER = 16,
  HOST_KEY_SELECT_2 = 17,
  HOST_KEY_INFO = 18,  // the host takes its press as a request for the information page
  HOST_KEY_TIRES = 19,
  HOST_KEY_CALIBRATION = 20,
  HOST_KEY_SWING_MODE = 21,
  HOST_KEY_MAN_BASKET = 22,  // the last key that is reported
  HOST_KEY_RESERVED = 23,
};

constexpr std::size_t ACTION_NAME_COUNT = 36;
constexpr std::size_t EVENT_NAME_COUNT = 81;
constexpr std::size_t TARGET_KEY_NAME_COUNT = HOST_KEY_RESERVED + 1;
constexpr std::size_t CMD_NAME_COUNT = 51;
constexpr std::size_t LANGUAGE_COUNT = 6;

extern const std::array<std::string_view, ACTION_NAME_COUNT> ACTION_ID_NAMES;
extern const std::array<std::string_view, EVENT_NAME_COUNT> EVENT_ID_NAMES;
extern const std::array<std::string_view, TARGET_KEY_NAME_COUNT> TARGET_KEY_NAMES;
extern const std::array<std::string_view, CMD_NAME_COUNT> CMD_NAMES;
extern const std::array<std::string_view, LANGUAGE_COUNT> LANGUAGE_NAMES;

// Indices of the events that the key tables and the page definitions name by number.
constexpr int EVENT_ID_NONE = 0;
constexpr int EVENT_CONFIG_TO_MAIN = 3;
constexpr int EVENT_SPLASH_TO_SLATE = 38;
constexpr int EVENT_MAIN_TO_WAD = 56;
constexpr int EVENT_MAIN_TO_DIALS = 66;
constexpr int EVENT_SLATE_TO_GAUGES = 72;
constexpr int EVENT_DIALS_TO_MAIN = 74;

// Index of an event's name; EVENT_ID_NONE when the table does not have the name.
int FindEventIndex(std::string_view name);
std::string_view ActionName(int actionId);
std::string_view EventName(int eventIndex);
