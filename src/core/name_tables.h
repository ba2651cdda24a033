// The name tables that every folder shares: actions and pages, events, host keys, key commands, languages.
//
// All are constant data, built before main runs. An index outside a table gives "Unknown".
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

// Actions of the screen service; the page entries among them are the pages' identifiers.
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
  ACTION_COUNT = 35,  // "NumActions", an entry of the table too
};

constexpr std::size_t ACTION_NAME_COUNT = 36;
constexpr std::size_t EVENT_NAME_COUNT = 81;
constexpr std::size_t TARGET_KEY_NAME_COUNT = 24;
constexpr std::size_t CMD_NAME_COUNT = 51;
constexpr std::size_t LANGUAGE_COUNT = 6;

extern const std::array<std::string_view, ACTION_NAME_COUNT> ACTION_ID_NAMES;
extern const std::array<std::string_view, EVENT_NAME_COUNT> EVENT_ID_NAMES;
extern const std::array<std::string_view, TARGET_KEY_NAME_COUNT> TARGET_KEY_NAMES;
extern const std::array<std::string_view, CMD_NAME_COUNT> CMD_NAMES;
extern const std::array<std::string_view, LANGUAGE_COUNT> LANGUAGE_NAMES;

// Indices of the events that the key tables and the watchdog name by number.
constexpr int EVENT_ID_NONE = 0;
constexpr int EVENT_CONFIG_TO_MAIN = 3;
constexpr int EVENT_SPLASH_TO_SLATE = 38;
constexpr int EVENT_MAIN_TO_WAD = 56;
constexpr int EVENT_MAIN_TO_DIALS = 66;
constexpr int EVENT_SLATE_TO_GAUGES = 72;
constexpr int EVENT_DIALS_TO_MAIN = 74;

// The index of an event's name; EVENT_ID_NONE when the table has no such name.
int FindEventIndex(std::string_view name);
std::string_view ActionName(int actionId);
std::string_view EventName(int eventIndex);
