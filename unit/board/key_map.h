// Which key of an input device stands for which front key of the unit.
//
// As text: one key a line, its name as the kernel's headers and libevdev know it (KEY_F1, KEY_ENTER, BTN_0) or
// its number, then the front key, 1 to 8. Several keys may mean the same front key. Empty lines and what
// follows # are skipped.
//
//   # the membrane on the left edge
//   KEY_F1  1
//   KEY_KP1 1
//   0x23f   3
#pragma once

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <map>
#include <string>

namespace unit {

class KeyMap {
 public:
  // KEY_F1 to KEY_F8 and the digits KEY_1 to KEY_8 are front keys 1 to 8.
  static KeyMap Default();
  // Both throw std::runtime_error with file, line and what belongs there.
  static KeyMap Read(const std::string& path);
  static KeyMap Parse(std::istream& text, const std::string& name);

  // The front key of the device's key `code` (input-event-codes.h); 0 when it means none.
  int FrontKey(unsigned code) const;
  // The front keys that are held (bit n-1 for key n) when `isDown` tells of each mapped key whether it is down:
  // a front key is held until the last key that means it goes up.
  std::uint32_t Held(const std::function<bool(unsigned code)>& isDown) const;

 private:
  void AddLine(const std::string& line);  // throws std::runtime_error with the line's fault alone

  std::map<unsigned, int> frontKeys_;  // by code
};

}  // namespace unit
