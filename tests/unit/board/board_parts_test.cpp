// The threads of the real parts, with devices that are none.
#include <chrono>
#include <functional>
#include <thread>

#include <gmock/gmock.h>

#include "board/board_outputs.h"
#include "board/key_device.h"
#include "board/keys.h"

namespace unit {
namespace {

using namespace std::chrono_literals;
using platform::key_source_t;
using testing::HasSubstr;

std::string WaitForText(const std::function<std::string()>& text) {
  const auto deadline = std::chrono::steady_clock::now() + 10s;
  while (text().empty() && std::chrono::steady_clock::now() < deadline) std::this_thread::sleep_for(1ms);
  return text();
}

TEST(FrontKeys, AreHeldWhileAnySourceHoldsThem) {
  platform::board_state_t board{};
  SetKeyHeld(board, key_source_t::kPanel, 3, true);
  SetKeyHeld(board, key_source_t::kKeyDevice, 3, true);
  SetKeyHeld(board, key_source_t::kPanel, 3, false);
  EXPECT_EQ(KeysHeld(board), 0x04U);
  SetKeyHeld(board, key_source_t::kPanel, 8, true);
  SetKeyHeld(board, key_source_t::kPanel, 9, true);
  SetKeyHeld(board, key_source_t::kKeyDevice, 3, false);
  EXPECT_EQ(KeysHeld(board), 0x80U);
}

TEST(BoardParts, SayWhatIsWrongWithADeviceAndStopWhileTheyWaitForIt) {
  struct case_t {
    const char* path;
    const char* problem;
  };
  for (const case_t& c : {case_t{"/nonexistent/event0", "waiting for it to be plugged in"},
                          {"/dev/null", "it is no input device"}}) {
    platform::board_state_t board{};
    const KeyDevice keys(c.path, KeyMap::Default(), board);
    const BoardOutputs outputs(c.path, {}, board);
    EXPECT_THAT(WaitForText([&] { return keys.Problem(); }), HasSubstr(c.problem));
    EXPECT_THAT(WaitForText([&] { return outputs.BeeperProblem(); }), HasSubstr(c.problem));
    EXPECT_EQ(outputs.BacklightProblem(), "");
    EXPECT_EQ(KeysHeld(board), 0U);
  }
}

}  // namespace
}  // namespace unit
