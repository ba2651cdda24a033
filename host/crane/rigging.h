// How a crane can be rigged, and the names for it. Load charts, scenarios and reports use the same names.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace crane {

// What the crane stands on, in the order in which the outriggers pass through them.
enum class base_t : std::uint8_t { TIRES, RETRACTED, HALF, EXTENDED };
// The lattice jib: not carried, stowed along the boom, or erected as long or short fly at an offset in degrees.
enum class jib_t : std::uint8_t { ABSENT, STOWED, LONG0, SHORT0, LONG15, SHORT15, LONG30, SHORT30 };
// Where the hook hangs.
enum class pick_t : std::uint8_t { MAIN_BOOM, AUX, FLY };
enum class winch_t : std::uint8_t { FRONT, REAR };
// The area that the boom points over. The front arc lies on both sides of the front.
enum class area_t : std::uint8_t { FRONT, FRONT_ARC, SIDE, REAR };

// The index is the enumerator.
constexpr std::array<std::string_view, 4> BASE_NAMES = {"tires", "retracted", "half", "extended"};
constexpr std::array<std::string_view, 8> JIB_NAMES = {"absent",  "stowed",   "long-0",  "short-0",
                                                       "long-15", "short-15", "long-30", "short-30"};
constexpr std::array<std::string_view, 3> PICK_NAMES = {"main-boom", "aux", "fly"};
constexpr std::array<std::string_view, 2> WINCH_NAMES = {"front", "rear"};

constexpr bool IsErected(jib_t jib) {
  return jib >= jib_t::LONG0;
}
constexpr bool IsLong(jib_t jib) {
  return IsErected(jib) && (static_cast<unsigned>(jib) - static_cast<unsigned>(jib_t::LONG0)) % 2 == 0;
}
// The angle of an erected jib below the boom's line, in degrees; 0 otherwise.
constexpr double OffsetOf(jib_t jib) {
  constexpr unsigned STEP_DEG = 15;
  if (!IsErected(jib)) return 0;
  const unsigned step = (static_cast<unsigned>(jib) - static_cast<unsigned>(jib_t::LONG0)) / 2;
  return STEP_DEG * step;
}

constexpr int MOST_PARTS = 12;  // of line on the hook block

struct rigging_t {
  bool counterweight = true;
  jib_t jib = jib_t::STOWED;
  pick_t pick = pick_t::MAIN_BOOM;
  winch_t winch = winch_t::FRONT;
  bool auxHead = false;
  bool manBasket = false;
  bool manualBoom = false;  // the boom sections telescope one by one, not together
  int parts = 4;
};

// The index of a name in one of the arrays above; empty if the array has no such name.
std::optional<std::size_t> FindName(std::span<const std::string_view> names, std::string_view name);

template <typename E, std::size_t N>
std::string_view NameOf(const std::array<std::string_view, N>& names, E value) {
  return names[static_cast<std::size_t>(value)];
}

}  // namespace crane
