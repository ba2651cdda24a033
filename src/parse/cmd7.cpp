#include "src/parse/cmd7.h"

#include <algorithm>
#include <array>

#include "src/core/command_counters.h"
#include "src/core/console.h"
#include "src/core/operating_values.h"
#include "src/devio/digital_io.h"
#include "src/pages/display_transition.h"
#include "src/pages/key_report.h"
#include "src/pages/page_tables.h"

namespace {

void ProcessSubCmd7_1(orvikData_t* data, const MessageView& bytes) {
  const int count = bytes.Byte(0);
  if (count > HOST_KEYS) {
    PrintErr("***** ERROR!  Valid keys count.  max=" + std::to_string(HOST_KEYS) +
             ", count=" + std::to_string(count));
  }
  std::array<unsigned char, HOST_KEYS> masks{};
  const int n = std::min(count, HOST_KEYS);
  for (int i = 0; i < n; ++i) masks[static_cast<std::size_t>(i)] = bytes.Byte(1 + static_cast<std::size_t>(i));
  SetValidKeys(data, masks.data(), n);
}

void ProcessSubCmd7_2(orvikData_t* data, const MessageView& bytes) {
  data->brightnessAdjustEnabled = bytes.Byte(0) != 0 ? 1 : 0;
}

// The receive thread answers requests 3, 4, 5, 7 and 9. They reach the parse thread only when the host has
// spread one over two frames.
void ProcessSubCmd7_3(orvikData_t* /*data*/, const MessageView& /*bytes*/) {
  PrintErr("***** ERROR!  Program Name request in parse thread!");
}

void ProcessSubCmd7_4(orvikData_t* /*data*/, const MessageView& /*bytes*/) {
  PrintErr("***** ERROR!  Program Date request in parse thread!");
}

void ProcessSubCmd7_5(orvikData_t* /*data*/, const MessageView& /*bytes*/) {
  PrintErr("***** ERROR!  Program ID request in parse thread!");
}

void ProcessSubCmd7_6(orvikData_t* /*data*/, const MessageView& bytes) {
  PrintErr("***** ERROR!  UNUSED SET POL cmd ( 7, 6 ) received: " + std::to_string(bytes.Byte(0)));
}

void ProcessSubCmd7_7(orvikData_t* /*data*/, const MessageView& /*bytes*/) {
  PrintErr("***** ERROR!  LCD status request in parse thread!");
}

void ProcessSubCmd7_8(orvikData_t* data, const MessageView& bytes) {
  data->displayMode = bytes.Byte(0);
  PrintOut(std::string("Set display mode: ") +
           (bytes.Byte(0) == 0 ? "Thousands" : "Units ( with trailing zeroes )"));
}

void ProcessSubCmd7_9(orvikData_t* /*data*/, const MessageView& /*bytes*/) {
  PrintErr("***** ERROR!  LED brightness level request in parse thread!");
}

void ProcessSubCmd7_10(orvikData_t* data, const MessageView& bytes) {
  SetBeeperDuration(data, bytes.Byte(0));
}

void ProcessSubCmd7_11(orvikData_t* data, const MessageView& bytes) {
  SetUnits(data, bytes.Byte(0));
}

void ProcessSubCmd7_12(orvikData_t* data, const MessageView& bytes) {
  SetDisplayType(data, bytes.Byte(0));
}

void ProcessSubCmd7_13(orvikData_t* data, const MessageView& bytes) {
  SetLanguage(data, bytes.Byte(0));
}

void ProcessSubCmd7_14(orvikData_t* data, const MessageView& bytes) {
  SetSelectMode(data, bytes.Byte(0) != 0);
}

void ProcessSubCmd7_15(orvikData_t* data, const MessageView& bytes) {
  SetDisplayTransition(data, bytes.Byte(0));
}

void ProcessSubCmd7_16(orvikData_t* data, const MessageView& bytes) {
  SetErectedIcon(data, bytes.Byte(0));
}

void ProcessSubCmd7_17(orvikData_t* data, const MessageView& bytes) {
  SetStowedIcon(data, bytes.Byte(0));
}

void ProcessSubCmd7_18(orvikData_t* data, const MessageView& bytes) {
  SetOutriggerColors(data, bytes.Byte(0), bytes.Byte(1), bytes.Byte(2), bytes.Byte(3));
}

void ProcessSubCmd7_19(orvikData_t* data, const MessageView& bytes) {
  SetSwingMode(data, bytes.Byte(0));
}

// To add a sub-command: its counter in command_counters.h, its function above and its row here.
struct sub_command_t {
  unsigned char number;
  command_counter_t counter;
  void (*process)(orvikData_t* data, const MessageView& bytes);
};

constexpr auto SUB_COMMANDS = std::to_array<sub_command_t>({
    {1, COUNT_CMD7_1, ProcessSubCmd7_1},     // valid keys: their number, then one mask a key
    {2, COUNT_CMD7_2, ProcessSubCmd7_2},     // brightness adjustment on or off
    {3, COUNT_CMD7_3, ProcessSubCmd7_3},     // program name
    {4, COUNT_CMD7_4, ProcessSubCmd7_4},     // program date
    {5, COUNT_CMD7_5, ProcessSubCmd7_5},     // file identity
    {6, COUNT_CMD7_6, ProcessSubCmd7_6},     // greatest parts of line; not used
    {7, COUNT_CMD7_7, ProcessSubCmd7_7},     // LCD status
    {8, COUNT_CMD7_8, ProcessSubCmd7_8},     // display mode
    {9, COUNT_CMD7_9, ProcessSubCmd7_9},     // LED brightness
    {10, COUNT_CMD7_10, ProcessSubCmd7_10},  // beep duration
    {11, COUNT_CMD7_11, ProcessSubCmd7_11},  // units
    {12, COUNT_CMD7_12, ProcessSubCmd7_12},  // display type
    {13, COUNT_CMD7_13, ProcessSubCmd7_13},  // language
    {14, COUNT_CMD7_14, ProcessSubCmd7_14},  // select mode on or off
    {15, COUNT_CMD7_15, ProcessSubCmd7_15},  // page transition
    {16, COUNT_CMD7_16, ProcessSubCmd7_16},  // erected icon
    {17, COUNT_CMD7_17, ProcessSubCmd7_17},  // stowed icon
    {18, COUNT_NONE, ProcessSubCmd7_18},     // colours: tires, then outriggers retracted, half, extended
    {19, COUNT_NONE, ProcessSubCmd7_19},     // swing mode
});

}  // namespace

void ProcessCmd7(orvikData_t* data, const MessageView& payload) {
  const unsigned char number = payload.Byte(0);
  const auto* sub = std::find_if(SUB_COMMANDS.begin(), SUB_COMMANDS.end(),
                                 [number](const sub_command_t& s) { return s.number == number; });
  if (sub == SUB_COMMANDS.end()) {
    IncrementCommandCounter(data, COUNT_CMD7_UNRECOGNIZED);
    PrintErr("***** ERROR!  Unknown extended command (" + std::to_string(number));
    return;
  }
  IncrementCommandCounter(data, sub->counter);
  sub->process(data, payload.From(1));
}
