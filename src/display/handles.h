// The names of widgets and database variables, and the look-up of their handles.
#pragma once

#include <array>
#include <string_view>

#include "src/core/orvik_data.h"

using line_names_t = std::array<std::string_view, GRID_LINES>;  // lines 1 to 4

extern const line_names_t OPERATING_LINE_WIDGET_NAMES_STD, OPERATING_LINE_WIDGET_NAMES_WIDE;
extern const line_names_t CHOICE4TOP_LINE_WIDGET_NAMES_STD, CHOICE4TOP_LINE_WIDGET_NAMES_WIDE;
extern const line_names_t CHOICE4MID_LINE_WIDGET_NAMES_STD, CHOICE4MID_LINE_WIDGET_NAMES_WIDE;
extern const line_names_t CHOICE4BOT_LINE_WIDGET_NAMES_STD, CHOICE4BOT_LINE_WIDGET_NAMES_WIDE;
extern const line_names_t WAD_LINE_WIDGET_NAMES_STD, WAD_LINE_WIDGET_NAMES_WIDE;
extern const line_names_t SLATE_LINE_WIDGET_NAMES_STD, SLATE_LINE_WIDGET_NAMES_WIDE;

extern const std::string_view FLASH_MSG_WIDGET_NAME_STD, FLASH_MSG_WIDGET_NAME_WIDE;
extern const std::string_view CAPACITY_WIDGET_NAME, LOAD_WIDGET_NAME, EXTENSION_WIDGET_NAME;
extern const std::string_view ANGLE_WIDGET_NAME, RADIUS_WIDGET_NAME, SWING_WIDGET_NAME;
extern const std::string_view UNITS_WEIGHT_WIDGET_NAME, UNITS_DISTANCE_WIDGET_NAME;
extern const std::string_view MAIN_ERECTED_WIDGET_NAME_STD, MAIN_ERECTED_WIDGET_NAME_WIDE;
extern const std::string_view MAIN_STOWED_WIDGET_NAME_STD, MAIN_STOWED_WIDGET_NAME_WIDE;
extern const std::string_view CONFIG_ERECTED_WIDGET_NAME_STD, CONFIG_ERECTED_WIDGET_NAME_WIDE;
extern const std::string_view CONFIG_STOWED_WIDGET_NAME_STD, CONFIG_STOWED_WIDGET_NAME_WIDE;
extern const std::string_view WAD_CAPACITY_WIDGET_NAME, WAD_LOAD_WIDGET_NAME, WAD_EXTENSION_WIDGET_NAME;
extern const std::string_view WAD_ANGLE_WIDGET_NAME, WAD_RADIUS_WIDGET_NAME, WAD_SWING_WIDGET_NAME;
extern const std::string_view WAD_UNITS_WEIGHT_WIDGET_NAME, WAD_UNITS_DISTANCE_WIDGET_NAME;
// Of the design, but not looked up.
extern const std::string_view MAIN_EXTENSION_WIDGET_NAME, MAIN_ANGLE_WIDGET_NAME, MAIN_RADIUS_WIDGET_NAME;
extern const std::string_view SLATE_BUTTON6_WIDGET_NAME;

// A variable's name and where the record keeps its handle; the table is in the order of the look-up.
struct variable_name_t {
  std::string_view name;
  handle_t variable_handles_t::*handle;
};
constexpr std::size_t VARIABLE_COUNT = 67;
extern const std::array<variable_name_t, VARIABLE_COUNT> VARIABLE_NAMES;

// Store the handle of every widget and variable in the record. A name that the configuration does not define
// gets handle 0, without a word. Called at each initialisation, by main or the dispatcher.
void InitGaugeHandles(orvikData_t* data);
void InitVariableHandles(orvikData_t* data);

// One line a handle on standard output: line 1 of each set, and the widgets up to the units.
void DumpGaugeHandles(const orvikData_t* data);
