// The names of the text widgets and database variables, and the look-up of their handles.
#pragma once

#include <array>
#include <string_view>

#include "src/core/orvik_data.h"

// Names of the text widgets, as the screen design defines them.
using line_names_t = std::array<std::string_view, GRID_LINES>;  // lines 1 to 4

constexpr line_names_t OPERATING_LINE_WIDGET_NAMES_STD = {"orvikTextWidgetLine1Std", "orvikTextWidgetLine2Std",
                                                          "orvikTextWidgetLine3Std", "orvikTextWidgetLine4Std"};
constexpr line_names_t OPERATING_LINE_WIDGET_NAMES_WIDE = {
    "orvikTextWidgetLine1Wide", "orvikTextWidgetLine2Wide", "orvikTextWidgetLine3Wide",
    "orvikTextWidgetLine4Wide"};
constexpr line_names_t CHOICE4TOP_LINE_WIDGET_NAMES_STD = {
    "orvikTextWidgetTopLine1Std", "orvikTextWidgetTopLine2Std", "orvikTextWidgetTopLine3Std",
    "orvikTextWidgetTopLine4Std"};
constexpr line_names_t CHOICE4TOP_LINE_WIDGET_NAMES_WIDE = {
    "orvikTextWidgetTopLine1Wide", "orvikTextWidgetTopLine2Wide", "orvikTextWidgetTopLine3Wide",
    "orvikTextWidgetTopLine4Wide"};
constexpr line_names_t CHOICE4MID_LINE_WIDGET_NAMES_STD = {
    "orvikTextWidgetMidLine1Std", "orvikTextWidgetMidLine2Std", "orvikTextWidgetMidLine3Std",
    "orvikTextWidgetMidLine4Std"};
constexpr line_names_t CHOICE4MID_LINE_WIDGET_NAMES_WIDE = {
    "orvikTextWidgetMidLine1Wide", "orvikTextWidgetMidLine2Wide", "orvikTextWidgetMidLine3Wide",
    "orvikTextWidgetMidLine4Wide"};
constexpr line_names_t CHOICE4BOT_LINE_WIDGET_NAMES_STD = {
    "orvikTextWidgetBotLine1Std", "orvikTextWidgetBotLine2Std", "orvikTextWidgetBotLine3Std",
    "orvikTextWidgetBotLine4Std"};
constexpr line_names_t CHOICE4BOT_LINE_WIDGET_NAMES_WIDE = {
    "orvikTextWidgetBotLine1Wide", "orvikTextWidgetBotLine2Wide", "orvikTextWidgetBotLine3Wide",
    "orvikTextWidgetBotLine4Wide"};
constexpr line_names_t WAD_LINE_WIDGET_NAMES_STD = {"orvikTextWidgetWadLine1Std", "orvikTextWidgetWadLine2Std",
                                                    "orvikTextWidgetWadLine3Std", "orvikTextWidgetWadLine4Std"};
constexpr line_names_t WAD_LINE_WIDGET_NAMES_WIDE = {
    "orvikTextWidgetWadLine1Wide", "orvikTextWidgetWadLine2Wide", "orvikTextWidgetWadLine3Wide",
    "orvikTextWidgetWadLine4Wide"};
constexpr line_names_t SLATE_LINE_WIDGET_NAMES_STD = {
    "orvikTextWidgetSlateLine1Std", "orvikTextWidgetSlateLine2Std", "orvikTextWidgetSlateLine3Std",
    "orvikTextWidgetSlateLine4Std"};
constexpr line_names_t SLATE_LINE_WIDGET_NAMES_WIDE = {
    "orvikTextWidgetSlateLine1Wide", "orvikTextWidgetSlateLine2Wide", "orvikTextWidgetSlateLine3Wide",
    "orvikTextWidgetSlateLine4Wide"};

constexpr std::string_view FLASH_MSG_WIDGET_NAME_STD = "orvikTextWidgetFlashMsgStd";
constexpr std::string_view FLASH_MSG_WIDGET_NAME_WIDE = "orvikTextWidgetFlashMsgWide";
constexpr std::string_view CAPACITY_WIDGET_NAME = "orvikTextWidgetCapacity";
constexpr std::string_view LOAD_WIDGET_NAME = "orvikTextWidgetLoad";
constexpr std::string_view EXTENSION_WIDGET_NAME = "orvikTextWidgetExtension";
constexpr std::string_view ANGLE_WIDGET_NAME = "orvikTextWidgetAngle";
constexpr std::string_view RADIUS_WIDGET_NAME = "orvikTextWidgetRadius";
constexpr std::string_view SWING_WIDGET_NAME = "orvikTextWidgetSwing";
constexpr std::string_view UNITS_WEIGHT_WIDGET_NAME = "orvikTextWidgetUnitsWeight";
constexpr std::string_view UNITS_DISTANCE_WIDGET_NAME = "orvikTextWidgetUnitsDistance";
constexpr std::string_view MAIN_ERECTED_WIDGET_NAME_STD = "orvikTextWidgetMainErectedStd";
constexpr std::string_view MAIN_ERECTED_WIDGET_NAME_WIDE = "orvikTextWidgetMainErectedWide";
constexpr std::string_view MAIN_STOWED_WIDGET_NAME_STD = "orvikTextWidgetMainStowedStd";
constexpr std::string_view MAIN_STOWED_WIDGET_NAME_WIDE = "orvikTextWidgetMainStowedWide";
constexpr std::string_view CONFIG_ERECTED_WIDGET_NAME_STD = "orvikTextWidgetConfigErectedStd";
constexpr std::string_view CONFIG_ERECTED_WIDGET_NAME_WIDE = "orvikTextWidgetConfigErectedWide";
constexpr std::string_view CONFIG_STOWED_WIDGET_NAME_STD = "orvikTextWidgetConfigStowedStd";
constexpr std::string_view CONFIG_STOWED_WIDGET_NAME_WIDE = "orvikTextWidgetConfigStowedWide";
constexpr std::string_view WAD_CAPACITY_WIDGET_NAME = "orvikTextWidgetWadCapacity";
constexpr std::string_view WAD_LOAD_WIDGET_NAME = "orvikTextWidgetWadLoad";
constexpr std::string_view WAD_EXTENSION_WIDGET_NAME = "orvikTextWidgetWadExtension";
constexpr std::string_view WAD_ANGLE_WIDGET_NAME = "orvikTextWidgetWadAngle";
constexpr std::string_view WAD_RADIUS_WIDGET_NAME = "orvikTextWidgetWadRadius";
constexpr std::string_view WAD_SWING_WIDGET_NAME = "orvikTextWidgetWadSwing";
constexpr std::string_view WAD_UNITS_WEIGHT_WIDGET_NAME = "orvikTextWidgetWadUnitsWeight";
constexpr std::string_view WAD_UNITS_DISTANCE_WIDGET_NAME = "orvikTextWidgetWadUnitsDistance";
// In the screen design, but not looked up.
constexpr std::string_view MAIN_EXTENSION_WIDGET_NAME = "orvikTextWidgetMainExtension";
constexpr std::string_view MAIN_ANGLE_WIDGET_NAME = "orvikTextWidgetMainAngle";
constexpr std::string_view MAIN_RADIUS_WIDGET_NAME = "orvikTextWidgetMainRadius";
constexpr std::string_view SLATE_BUTTON6_WIDGET_NAME = "orvikTextWidgetSlateButton6Icon";

// A variable's name and the record's member for its handle. The table is in the order of the look-up.
struct variable_name_t {
  std::string_view name;
  handle_t variable_handles_t::*handle;
};
constexpr std::size_t VARIABLE_COUNT = sizeof(variable_handles_t) / sizeof(handle_t);
extern const std::array<variable_name_t, VARIABLE_COUNT> VARIABLE_NAMES;

// Store the handles of all widgets and of all variables in the record. A name that the configuration does not
// define gets handle 0; nothing is reported. Called by InitOrvikData, under its lock.
void InitGaugeHandles(orvikData_t* data);
void InitVariableHandles(orvikData_t* data);

// Prints handles on standard output, one a line: line 1 of each line set, then the single widgets that have a
// label. Any thread.
void DumpGaugeHandles(const orvikData_t* data);
