#include "src/parse/cmd7.h"

// The extended command and its sub-commands.
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

constexpr unsigned char NOT_COUNTED = 0xFF;

struct sub_command_t {
  unsigned char number;
  unsigned char counter;
  void (*process)(orvikData_t* data, const MessageView& bytes);
};

constexpr std::array<sub_command_t, 19> SUB_COMMANDS = {{
    {1, 7, ProcessSubCmd7_1},
    {2, 8, ProcessSubCmd7_2},
    {3, 9, ProcessSubCmd7_3},
    {4, 10, ProcessSubCmd7_4},
    {5, 11, ProcessSubCmd7_5},
    {6, 12, ProcessSubCmd7_6},
    {7, 13, ProcessSubCmd7_7},
    {8, 14, ProcessSubCmd7_8},
    {9, 15, ProcessSubCmd7_9},
    {10, 16, ProcessSubCmd7_10},
    {11, 17, ProcessSubCmd7_11},
    {12, 18, ProcessSubCmd7_12},
    {13, 19, ProcessSubCmd7_13},
    {14, 20, ProcessSubCmd7_14},
    {15, 21, ProcessSubCmd7_15},
    {16, 22, ProcessSubCmd7_16},
    {17, 23, ProcessSubCmd7_17},
    {18, NOT_COUNTED, ProcessSubCmd7_18},
    {19, NOT_COUNTED, ProcessSubCmd7_19},
}};

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
  if (sub->counter != NOT_COUNTED) IncrementCommandCounter(data, sub->counter);
  sub->process(data, payload.From(1));
}

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

// Requests that the receive thread answers at once. They come here only when the host spread one over two
// frames.
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
