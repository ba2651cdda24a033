#include "host/decode.h"

#include <gmock/gmock.h>

#include "host/words.h"
#include "tests/unit/host/hex.h"

namespace {

std::string Words(const char* message, host::units_t units = {}) {
  return host::InWords(host::DecodeCommand(FromHex(message), units));
}

TEST(Decode, PutsEveryLayoutIntoWords) {
  EXPECT_EQ(
      Words(
          "02 00 46 EA 60 00 46 40 30 00 42 0E 00 00 C0 00 00 00 3F 00 00 00 3E CC 49 BA 04 05 00 01 FF B5 80 "
          "3F 80 00 00 BF 80 00 00",
          1),
      "operating-values: capacity 30000 kgs, load 12300 kgs, radius 35.5 meters, angle -2 deg, extension 0.5 "
      "meters, percent 39.9 %, parts-of-line 4, led prealarm,a2b,tires,swing-alarm-tripped, swing -75 deg, "
      "piston-pressure 1, rod-pressure -1");
  const std::pair<const char*, const char*> cases[] = {
      {"05 00 0F 00 07 00 11 48 45 4C 4C 4F 00 04 00 1D C2 B0 FF FF",
       "texts: line1-center \"HELLO\", erected \"°\""},
      {"03 00 04 00 63 41 42 FF", "flash: \"AB\""},
      // Foreign text cannot steer the terminal.
      {"03 00 08 00 00 1B 5B 41 22 FF C3", "flash: \"\\x1B[A\\\"\xEF\xBF\xBD\xEF\xBF\xBD\""},
      {"04 FF FF FF FF FF", "beeper: continuous"},
      {"04 14", "beeper: 20 x 10 ms"},
      {"06 FF FF FF FF FF", "key-state"},
      {"07 01 04 7F 00 01 05 FF", "valid-keys: none winch:no-beep counterweight:5"},
      {"07 01 FF 7F", "valid-keys: none"},  // more keys announced than came
      {"07 0B 01", "units: metric"},
      {"07 0F 02", "transition: 2"},
      {"07 12 01 00 09 03", "colors: tires green, retracted dark, half 9, extended red"},
      // What the display will not like.
      {"02 00 46", "operating-values  (!) 3 bytes came, 41 are needed"},
      {"07", "unknown: bytes 07  (!) the display knows no such command"},
      {"07 15 00", "unknown: bytes 07 15 00  (!) the display knows no such command"},
      {"05 00 04 00 02 00 11 FF", "texts  (!) the length is 4, with 5 bytes left"},
      {"05 FF FF 00 03 00 11 41", "texts  (!) the length is 65535, with 5 bytes left"},
      {"05 00 0A 00 03 00 11 41 00 09 00 12 42",
       "texts: line1-center \"A\"  (!) a text's length is 9, with 5 bytes left"},
      {"05 00 07 00 03 00 11 41 00 09",
       "texts: line1-center \"A\"  (!) a text's length is 0, with 2 bytes left"},
      {"05 00 05 00 03 00 1F 41", "texts: field-31 \"A\"  (!) there is no text field 31"}};
  for (const auto& [message, words] : cases) EXPECT_EQ(Words(message), words) << message;
}

TEST(Words, GiveJsonWithNumbersNamesAndLists) {
  const std::pair<const char*, const char*> cases[] = {
      {"05 00 0A 00 03 00 11 41 00 03 00 11 FF FF",
       "CMD5\",\"name\":\"texts\",\"values\":{\"line1-center\":[\"A\",\"\xEF\xBF\xBD\"]"},
      {"07 12 01 00 09 03",
       R"(CMD7.18","name":"colors","values":{"tires":"green","retracted":"dark","half":9,"extended":"red")"},
      {"07 01 02 7F 7F", R"(CMD7.1","name":"valid-keys","values":{"valid-keys":["none","boom-mode"])"}};
  for (const auto& [message, json] : cases) {
    const host::utterance_t heard{.time_us = 1500000,
                                  .speaker = host::Speaker::kHost,
                                  .frame = {},
                                  .decoded = host::DecodeCommand(FromHex(message), {})};
    EXPECT_EQ(host::JsonLine(heard), R"({"time":1.5,"from":"host","command":")" + std::string(json) + "}}");
  }
}

}  // namespace
