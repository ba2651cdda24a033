#include "board/key_map.h"

#include <set>
#include <sstream>
#include <stdexcept>

#include <gmock/gmock.h>

namespace unit {
namespace {

using testing::HasSubstr;

KeyMap Parse(const std::string& text) {
  std::istringstream stream(text);
  return KeyMap::Parse(stream, "keys");
}

TEST(KeyMap, TakesNamesNumbersAndComments) {
  const KeyMap map = Parse("# the left edge\nKEY_F1 1\n\n  0x23f\t3 # odd\r\nBTN_0 8\n30 1");
  for (const auto& [code, key] : {std::pair{59U, 1}, {0x23FU, 3}, {0x100U, 8}, {30U, 1}, {60U, 0}}) {
    EXPECT_EQ(map.FrontKey(code), key) << code;
  }
}

TEST(KeyMap, DefaultIsTheFunctionKeysAndTheDigits) {
  const KeyMap map = KeyMap::Default();
  for (const auto& [code, key] : {std::pair{59U, 1}, {66U, 8}, {67U, 0}, {2U, 1}, {9U, 8}, {10U, 0}, {1U, 0}}) {
    EXPECT_EQ(map.FrontKey(code), key) << code;
  }
}

TEST(KeyMap, HoldsAFrontKeyUntilTheLastKeyThatMeansItGoesUp) {
  const KeyMap map = Parse("30 1\n31 1\n32 8\n");
  struct case_t {
    std::set<unsigned> down;
    std::uint32_t held;
  };
  for (const case_t& c :
       {case_t{{}, 0x00}, {{30, 31}, 0x01}, {{31}, 0x01}, {{31, 32, 33}, 0x81}, {{33}, 0x00}}) {
    EXPECT_EQ(map.Held([&](unsigned code) { return c.down.contains(code); }), c.held);
  }
}

TEST(KeyMap, NamesTheFaultyLine) {
  struct case_t {
    const char* text;
    const char* fault;
  };
  for (const case_t& c : {case_t{"KEY_F1 1\nKEY_F2\n", "line 2: a key and the front key"},
                          {"KEY_F1 1 2\n", "line 1: a key and the front key"},
                          {"KEY_F99 1\n", "\"KEY_F99\" is no key"},
                          {"EV_KEY 1\n", "\"EV_KEY\" is no key"},
                          {"0 1\n", "\"0\" is no key"},
                          {"0x300 1\n", "\"0x300\" is no key"},
                          {"-1 1\n", "\"-1\" is no key"},
                          {"30x 1\n", "\"30x\" is no key"},
                          {"99999999999999999999 1\n", "is no key"},
                          {"KEY_F1 0\n", "\"0\" is no front key"},
                          {"KEY_F1 9\n", "\"9\" is no front key"},
                          {"KEY_F1 4294967297\n", "is no front key"},
                          {"KEY_F1 1\n59 2\n", "line 2: 59 stands here a second time"},
                          {"# nothing\n", "keys names no key"}}) {
    try {
      Parse(c.text);
      ADD_FAILURE() << c.text;
    } catch (const std::runtime_error& error) {
      EXPECT_THAT(error.what(), HasSubstr(c.fault));
    }
  }
  EXPECT_THROW(KeyMap::Read("/nonexistent"), std::runtime_error);
  EXPECT_THROW(KeyMap::Read("/dev/zero"), std::runtime_error);
}

}  // namespace
}  // namespace unit
