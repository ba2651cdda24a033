// Reads the arguments of actions: names, switches, and numbers with or without a unit. All functions throw
// host::UsageError, which says what would be right and suggests the nearest name.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "host/protocol/protocol.h"

namespace simulate {

[[noreturn]] void RefuseWord(const std::string& word, const std::string& right,
                             std::span<const std::string_view> names = {});

// The index of a name.
std::size_t ParseName(std::span<const std::string_view> names, const std::string& word);
template <typename E, std::size_t N>
E ParseEnum(const std::array<std::string_view, N>& names, const std::string& word) {
  return static_cast<E>(ParseName(names, word));
}
bool ParseSwitch(const std::string& word);  // on, off
std::uint8_t ParseProtocolName(std::span<const host::number_name_t> table, const std::string& word);

struct argument_unit_t {
  std::string_view name;
  double factor;  // to the first unit of its kind, which a number without a unit has
};
constexpr std::array<argument_unit_t, 2> LENGTH_UNITS = {{{"m", 1}, {"ft", 0.3048}}};
constexpr std::array<argument_unit_t, 4> WEIGHT_UNITS = {
    {{"kg", 1}, {"t", 1000}, {"lbs", 0.45359237}, {"lb", 0.45359237}}};
constexpr std::array<argument_unit_t, 1> DEGREES = {{{"deg", 1}}};
constexpr std::array<argument_unit_t, 1> SECONDS = {{{"s", 1}}};
constexpr std::array<argument_unit_t, 1> TIMES = {{{"times", 1}}};
constexpr std::array<argument_unit_t, 1> SPEED = {{{"m/s", 1}}};

// The limits are inclusive and in the first unit.
double ParseQuantity(const std::string& word, double least, double most,
                     std::span<const argument_unit_t> units);
int ParseWhole(const std::string& word, int least, int most);

}  // namespace simulate
