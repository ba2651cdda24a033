#include "src/parse/cmd2.h"

#include <array>

#include "src/core/command_counters.h"
#include "src/core/operating_values.h"

namespace {

// A float of the payload and the setter that stores it.
struct float_value_t {
  std::size_t at;
  void (*set)(orvikData_t* data, double value);
};
constexpr std::array<float_value_t, 8> FLOAT_VALUES = {{
    {1, SetCapacity},
    {5, SetLoad},
    {9, SetRadius},
    {13, SetAngle},
    {17, SetExtension},
    {21, SetPercentSafeWorkingLoad},
    {32, SetPistonPressure},
    {36, SetRodPressure},
}};

constexpr std::size_t PARTS_OF_LINE_AT = 25;
constexpr std::size_t SWING_AT = 29;
// Lowest byte of the lamp word first. The protocol puts the swing between the last two bytes.
constexpr std::array<std::size_t, 4> LAMP_BYTES_AT = {26, 27, 28, 31};

unsigned LampWord(const MessageView& payload) {
  unsigned word = 0;
  for (std::size_t i = 0; i < LAMP_BYTES_AT.size(); ++i) {
    word |= static_cast<unsigned>(payload.Byte(LAMP_BYTES_AT[i])) << (8U * i);
  }
  return word;
}

}  // namespace

void ProcessCmd2(orvikData_t* data, const MessageView& payload) {
  IncrementCommandCounter(data, COUNT_CMD2);
  for (const float_value_t& value : FLOAT_VALUES) value.set(data, payload.BeFloat(value.at));
  SetPartsOfLine(data, payload.Byte(PARTS_OF_LINE_AT));
  SetLEDState(data, LampWord(payload));
  SetSwing(data, static_cast<std::int16_t>(payload.Be16(SWING_AT)));
}
