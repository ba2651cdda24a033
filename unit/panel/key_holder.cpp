#include "unit/panel/key_holder.h"

#include <algorithm>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "unit/board/board_view.h"

namespace unit {
namespace {

std::vector<int> KeysIn(std::uint32_t keys) {
  std::vector<int> all;
  for (int key = 1; key <= KEY_COUNT; ++key) {
    if ((keys & KeyBit(key)) != 0) all.push_back(key);
  }
  return all;
}

}  // namespace

std::optional<key_request_t> ReadKeyRequest(const std::string& body) {
  using nlohmann::json;
  static const std::array<std::pair<json, key_request_t>, 4> REQUESTS{
      {{{{"down", false}}, key_request_t::RELEASE},
       {{{"down", true}}, key_request_t::HOLD},
       {{{"down", true}, {"lease", true}}, key_request_t::HOLD_ON_LEASE},
       {{{"renew", true}}, key_request_t::RENEW}}};
  const json parsed = json::parse(body, nullptr, false);
  for (const auto& [text, request] : REQUESTS) {
    if (parsed == text) return request;
  }
  return std::nullopt;
}

std::uint32_t ReadKeys(std::string_view text) {
  std::uint32_t keys = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const int key = text[i] - '0';
    const bool isRight = i % 2 == 0 ? IsKey(key) : text[i] == '+' && i + 1 < text.size();
    if (!isRight) return 0;
    if (i % 2 == 0) keys |= KeyBit(key);
  }
  return keys;
}

// Maps the board for each use, which costs little at the pace of key presses: a board service that was started
// again makes a new shared object.
platform::board_state_t* KeyHolder::Board() {
  mapping_ = std::make_unique<platform::BoardMapping>(platform::BoardMapping::role_t::USER);
  return mapping_->Get();
}

bool KeyHolder::Hold(std::uint32_t keys, bool held, std::optional<release_t> release) {
  const std::lock_guard lock(mutex_);
  platform::board_state_t* board = Board();
  if (board == nullptr) return false;
  for (const int key : KeysIn(keys)) ReleaseOf(key) = release;
  SetKeysHeld(*board, platform::key_source_t::PANEL, keys, held);
  return true;
}

bool KeyHolder::Set(std::uint32_t keys, key_request_t wanted, TimePoint now) {
  switch (wanted) {
    case key_request_t::RELEASE:
      return Hold(keys, false, {});
    case key_request_t::HOLD:
      return Hold(keys, true, {});
    case key_request_t::HOLD_ON_LEASE:
      return Hold(keys, true, release_t{now + LEASE, true});
    case key_request_t::RENEW:
      break;
  }
  return false;
}

bool KeyHolder::Renew(std::uint32_t keys, TimePoint now) {
  const std::lock_guard lock(mutex_);
  const std::vector<int> all = KeysIn(keys);
  if (!std::ranges::all_of(all, [this](int key) { return ReleaseOf(key) && ReleaseOf(key)->isLeased; }))
    return false;
  for (const int key : all) ReleaseOf(key)->at = now + LEASE;
  return true;
}

bool KeyHolder::Press(std::uint32_t keys, TimePoint now) {
  return Hold(keys, true, release_t{now + PRESS});
}

std::string KeyHolder::View() {
  const std::lock_guard lock(mutex_);
  const platform::board_state_t* board = Board();
  return board == nullptr ? std::string() : FormatBoard(ViewBoard(*board));
}

KeyHolder::TimePoint KeyHolder::Step(TimePoint now) {
  TimePoint next = now + LONGEST_PACE;
  const std::lock_guard lock(mutex_);
  for (int key = 1; key <= KEY_COUNT; ++key) {
    std::optional<release_t>& release = ReleaseOf(key);
    if (!release) continue;
    if (now < release->at) {
      next = std::min(next, release->at);
      continue;
    }
    release.reset();
    if (platform::board_state_t* board = Board()) SetKeyHeld(*board, platform::key_source_t::PANEL, key, false);
  }
  return next;
}

}  // namespace unit
