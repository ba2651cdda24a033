// What a crane can be rigged as, and the words for it: the same in load charts, scenarios and reports.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace crane {

// What it stands on, in the order in which one is reached from the other.
enum class Base : std::uint8_t { kTires, kRetracted, kHalf, kExtended };
// The lattice jib: not carried, stowed along the boom, or erected as long or short fly at an offset in degrees.
enum class Jib : std::uint8_t { kAbsent, kStowed, kLong0, kShort0, kLong15, kShort15, kLong30, kShort30 };
// Where the hook hangs.
enum class Pick : std::uint8_t { kMainBoom, kAux, kFly };
enum class Winch : std::uint8_t { kFront, kRear };
// What the boom points over. The front arc reaches to both sides of the front.
enum class Area : std::uint8_t { kFront, kFrontArc, kSide, kRear };

// The index is the enumerator.
constexpr std::array<std::string_view, 4> kBaseNames = {"tires", "retracted", "half", "extended"};
constexpr std::array<std::string_view, 8> kJibNames = {"absent",  "stowed",   "long-0",  "short-0",
                                                       "long-15", "short-15", "long-30", "short-30"};
constexpr std::array<std::string_view, 3> kPickNames = {"main-boom", "aux", "fly"};
constexpr std::array<std::string_view, 2> kWinchNames = {"front", "rear"};

constexpr bool IsErected(Jib jib) {
  return jib >= Jib::kLong0;
}
constexpr bool IsLong(Jib jib) {
  return IsErected(jib) && (static_cast<unsigned>(jib) - static_cast<unsigned>(Jib::kLong0)) % 2 == 0;
}
// Of an erected jib against the boom, in degrees downwards; 0 otherwise.
constexpr double OffsetOf(Jib jib) {
  constexpr unsigned kStep_deg = 15;
  if (!IsErected(jib)) return 0;
  const unsigned step = (static_cast<unsigned>(jib) - static_cast<unsigned>(Jib::kLong0)) / 2;
  return kStep_deg * step;
}

// The index of a name in one of the arrays above; empty when it is none of them.
std::optional<std::size_t> IndexOf(std::span<const std::string_view> names, std::string_view name);

template <typename E, std::size_t N>
std::string_view NameOf(const std::array<std::string_view, N>& names, E value) {
  return names[static_cast<std::size_t>(value)];
}

}  // namespace crane
