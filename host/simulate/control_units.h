// Control units beside the load computer, such as the engine's, which report their active faults on the bus.
//
// A control unit that is on sends DM1, "active diagnostic trouble codes" (SAE J1939-73), once a second and when
// its codes change: in one frame for up to one code, otherwise as a broadcast announcement and packets of seven
// bytes that are 50 ms apart (SAE J1939-21). All times are of the crane.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <map>
#include <string_view>
#include <vector>

#include "host/load_computer/outbox.h"

namespace simulate {

// The lamp that a control unit lights for a code.
enum class code_lamp_t : std::uint8_t { MALFUNCTION, STOP, WARNING, PROTECT, NONE };
constexpr std::array<std::string_view, 5> CODE_LAMP_NAMES = {"malfunction", "stop", "warning", "protect",
                                                             "none"};

struct active_code_t {
  std::uint32_t spn = 0;  // 1 to MOST_SPN
  std::uint8_t fmi = 0;   // failure mode, 0 to MOST_FMI
  code_lamp_t lamp = code_lamp_t::WARNING;
  std::uint8_t count = 1;  // of occurrences, 0 to 126; 127: not counted
};

class ControlUnits {
 public:
  static constexpr int MOST_SOURCE = 253;  // 254 and 255 are no addresses
  static constexpr int MOST_SPN = 0x7FFFE;
  static constexpr int MOST_FMI = 31;
  static constexpr int MOST_COUNT = 127;
  // The packets of so many codes take less than the second between two messages. Further codes are not set.
  static constexpr std::size_t MOST_CODES = 30;

  // Lets the control unit with this address send DM1; without a code it reports that it has none.
  void SwitchOn(std::uint8_t source) { units_[source]; }
  // The control unit falls silent and forgets its codes.
  void SwitchOff(std::uint8_t source) { units_.erase(source); }
  // Sets a code, or changes its lamp and count, and switches the control unit on.
  void SetCode(std::uint8_t source, const active_code_t& code);
  void ClearCode(std::uint8_t source, std::uint32_t spn, std::uint8_t fmi);

  // Returns the frames to send at this time. Call it every 10 ms of the crane's time.
  message_frames_t Step(std::int64_t now_ms);

 private:
  struct control_unit_t {
    std::vector<active_code_t> codes;
    bool changed = true;              // since the last message began
    std::int64_t next_ms = 0;         // when the next message is due
    std::deque<bus::frame_t> frames;  // of the present message, not yet sent
    std::int64_t nextFrame_ms = 0;
  };

  std::map<std::uint8_t, control_unit_t> units_;  // by address
};

}  // namespace simulate
