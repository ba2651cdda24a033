// Holds the front keys for the front panel, until they are released, for a short time, or on a lease.
#pragma once

#include <array>
#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "platform/board_state.h"

#include "unit/board/keys.h"

namespace unit {

// What a client wants of a key.
enum class key_request_t { RELEASE, HOLD, HOLD_ON_LEASE, RENEW };

// Reads {"down":false}, {"down":true}, {"down":true,"lease":true} or {"renew":true}. Empty for any other text.
std::optional<key_request_t> ReadKeyRequest(const std::string& body);

// Any thread.
class KeyHolder {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;
  static constexpr std::chrono::milliseconds PRESS{150};
  static constexpr std::chrono::milliseconds LEASE{1000};
  static constexpr std::chrono::milliseconds LONGEST_PACE{100};  // of Step; shorter than a press

  // Holds or releases key 1 to 8; with HOLD_ON_LEASE, until LEASE after the last Renew. False when there is no
  // board, and for RENEW.
  bool Set(int key, key_request_t wanted, TimePoint now);
  // False when the key is not held on a lease: a renewal that is late presses no key anew, since the host would
  // take it for a second press.
  bool Renew(int key, TimePoint now);
  // Holds the key and releases it after PRESS. A second press before that starts the time again.
  bool Press(int key, TimePoint now);
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
  bool Hold(int key, bool held, std::optional<release_t> release);

  std::mutex mutex_;  // guards the two below
  std::unique_ptr<platform::BoardMapping> mapping_;
  std::array<std::optional<release_t>, KEY_COUNT> releases_;
};

}  // namespace unit
