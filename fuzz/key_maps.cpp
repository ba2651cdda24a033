// Fuzzes key maps of input devices.
//
// Checks: a refusal names the file; front keys are 1 to 8, and the codes are those of keys; the keys held are
// those of the keys that are down.
#include <sstream>

#include <linux/input-event-codes.h>

#include "fuzz/fuzz_input.h"
#include "unit/board/key_map.h"

void fuzz::RunInput(bytes_t input) {
  std::istringstream text(TextOf(input));
  try {
    const unit::KeyMap map = unit::KeyMap::Parse(text, "some.keys");
    std::uint32_t all = 0;
    for (unsigned code = 0; code <= KEY_MAX + 1; ++code) {
      const int key = map.FrontKey(code);
      Require(key >= 0 && key <= 8 && (key == 0 || (code != KEY_RESERVED && code <= KEY_MAX)));
      const std::uint32_t held = map.Held([code](unsigned down) { return down == code; });
      Require(held == (key == 0 ? 0 : 1U << static_cast<unsigned>(key - 1)));
      all |= held;
    }
    Require(all != 0 && map.Held([](unsigned) { return true; }) == all);
  } catch (const std::runtime_error& fault) {
    Require(std::string_view(fault.what()).find("key map some.keys") != std::string_view::npos);
  }
}
