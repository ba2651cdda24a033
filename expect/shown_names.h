// The names under which tools and tests ask what the screen shows: in the answer of the front panel to
// GET /api/shown, in expectations, and where the host sends a lamp or a language by name.
#pragma once

#include <array>
#include <string_view>

namespace expect {

// The members of "texts".
inline constexpr auto TEXT_NAMES = std::to_array<std::string_view>(
    {"load", "capacity", "radius", "angle", "extension", "swing", "percent", "parts-of-line", "piston-pressure",
     "rod-pressure", "weight-units", "distance-units", "line1", "line2", "line3", "line4", "flash-msg",
     "erected", "stowed"});

// The index is the bit of the host's lamp word. The long fly of each offset has the lower bit, and so has the
// rear winch: the order of the display's lamps.
inline constexpr std::array<std::string_view, 32> LAMP_NAMES = {"prealarm",
                                                                "overload",
                                                                "a2b",
                                                                "jib-long-fly-0",
                                                                "jib-short-fly-0",
                                                                "jib-long-fly-15",
                                                                "jib-short-fly-15",
                                                                "jib-long-fly-30",
                                                                "jib-short-fly-30",
                                                                "rear-winch",
                                                                "front-winch",
                                                                "counterweight",
                                                                "stowed",
                                                                "boom-mode",
                                                                "aux-head",
                                                                "alarm",
                                                                "tires",
                                                                "outrigger-retracted",
                                                                "outrigger-half",
                                                                "outrigger-extended",
                                                                "pick-main-boom",
                                                                "pick-aux",
                                                                "pick-fly",
                                                                "man-basket",
                                                                "angle-alarm-set",
                                                                "angle-alarm-tripped",
                                                                "radius-alarm-set",
                                                                "radius-alarm-tripped",
                                                                "extension-alarm-set",
                                                                "extension-alarm-tripped",
                                                                "swing-alarm-set",
                                                                "swing-alarm-tripped"};
// The red sign beside the link's name; no bit of the lamp word.
constexpr std::string_view LINK_LOST_LAMP = "link-lost";

// The index is the number of the language on the bus.
inline constexpr std::array<std::string_view, 6> LANGUAGE_NAMES = {"english", "spanish", "portuguese",
                                                                   "chinese", "russian", "french"};

// The values of "state", "link" and "beeper".
constexpr std::string_view STATE_CURRENT = "current";
constexpr std::string_view STATE_OLD = "old";
constexpr std::string_view STATE_UNKNOWN = "unknown";
inline constexpr std::array STATE_NAMES = {STATE_CURRENT, STATE_OLD, STATE_UNKNOWN};

constexpr std::string_view LINK_HEARD = "heard";
constexpr std::string_view LINK_LOST = "lost";
constexpr std::string_view LINK_UNKNOWN = "unknown";
inline constexpr std::array LINK_NAMES = {LINK_HEARD, LINK_LOST, LINK_UNKNOWN};

constexpr std::string_view BEEPER_SILENT = "silent";
constexpr std::string_view BEEPER_BEEP = "beep";  // one short sound, such as a key's click
constexpr std::string_view BEEPER_PULSE = "pulse";
constexpr std::string_view BEEPER_STEADY = "steady";
inline constexpr std::array BEEPER_NAMES = {BEEPER_SILENT, BEEPER_BEEP, BEEPER_PULSE, BEEPER_STEADY};

}  // namespace expect
