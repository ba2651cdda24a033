// Maps the keys of an input device to the front keys of the unit.
//
// As text, one key a line: the key's name in the kernel's headers (KEY_F1, KEY_ENTER, BTN_0) or its number,
// then the front key, 1 to 8. Several keys may stand for one front key. Empty lines and comments after # are
// skipped.
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
  // Both throw std::runtime_error with file, line and the right form of the line.
  static KeyMap Read(const std::string& path);
  static KeyMap Parse(std::istream& text, const std::string& name);

  // The front key for the device's key `code` (input-event-codes.h); 0 when there is none.
  int FrontKey(unsigned code) const;
  // The front keys that are held, bit n-1 for key n. `isDown` says whether a key of the device is down. A front
  // key is held while any of its keys is down.
  std::uint32_t Held(const std::function<bool(unsigned code)>& isDown) const;

 private:
  void AddLine(const std::string& line);  // throws std::runtime_error; the text does not name the line

  std::map<unsigned, int> frontKeys_;  // by code
};

}  // namespace unit
