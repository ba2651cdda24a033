// Holds the front keys for the front panel, until they are released, for a short time, or on a lease.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "platform/board_state.h"

#include "unit/board/keys.h"

namespace unit {

// What a client wants of a key.
enum class key_request_t { RELEASE, HOLD, HOLD_ON_LEASE, RENEW };

// Reads {"down":false}, {"down":true}, {"down":true,"lease":true} or {"renew":true}. Empty for any other text.
std::optional<key_request_t> ReadKeyRequest(const std::string& body);

// Reads "3", or "1+8" for several keys, as the bits of KeyBit; 0 for any other text.
std::uint32_t ReadKeys(std::string_view text);

// Any thread. `keys` are bits of KeyBit; several keys change in one moment.
class KeyHolder {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;
  static constexpr std::chrono::milliseconds PRESS{150};
  static constexpr std::chrono::milliseconds LEASE{1000};
  static constexpr std::chrono::milliseconds LONGEST_PACE{100};  // of Step; shorter than a press

  // Holds or releases the keys; with HOLD_ON_LEASE, until LEASE after the last Renew. False when there is no
  // board, and for RENEW.
  bool Set(std::uint32_t keys, key_request_t wanted, TimePoint now);
  // False when one of the keys is not held on a lease: a renewal that is late presses no key anew, since the
  // host would take it for a second press.
  bool Renew(std::uint32_t keys, TimePoint now);
  // Holds the keys and releases them after PRESS. A second press before that starts the time again.
  bool Press(std::uint32_t keys, TimePoint now);
  // The state of the board as JSON (see board/board_view.h); empty when there is no board.
  std::string View();
  // Releases the keys whose time is over. Returns when it is to be called again at the latest: LONGEST_PACE
  // from now, or at the next release.
  TimePoint Step(TimePoint now);

 private:
  // When a key is to be released; that of a lease may be renewed.
  struct release_t {
    TimePoint at;
    bool isLeased = false;
  };

  platform::board_state_t* Board();
  std::optional<release_t>& ReleaseOf(int key) { return releases_.at(static_cast<std::size_t>(key - 1)); }
  bool Hold(std::uint32_t keys, bool held, std::optional<release_t> release);

  std::mutex mutex_;  // guards the two below
  std::unique_ptr<platform::BoardMapping> mapping_;
  std::array<std::optional<release_t>, KEY_COUNT> releases_;
};

}  // namespace unit
