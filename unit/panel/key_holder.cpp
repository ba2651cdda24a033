#include "unit/panel/key_holder.h"

#include <algorithm>
#include <utility>

#include <nlohmann/json.hpp>

#include "unit/board/board_view.h"

namespace unit {

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

// Maps the board for each use, which costs little at the pace of key presses: a board service that was started
// again makes a new shared object.
platform::board_state_t* KeyHolder::Board() {
  mapping_ = std::make_unique<platform::BoardMapping>(platform::BoardMapping::role_t::USER);
  return mapping_->Get();
}

bool KeyHolder::Hold(int key, bool held, std::optional<release_t> release) {
  const std::lock_guard lock(mutex_);
  platform::board_state_t* board = Board();
  if (board == nullptr) return false;
  releases_.at(static_cast<std::size_t>(key - 1)) = release;
  SetKeyHeld(*board, platform::key_source_t::PANEL, key, held);
  return true;
}

bool KeyHolder::Set(int key, key_request_t wanted, TimePoint now) {
  switch (wanted) {
    case key_request_t::RELEASE:
      return Hold(key, false, {});
    case key_request_t::HOLD:
      return Hold(key, true, {});
    case key_request_t::HOLD_ON_LEASE:
      return Hold(key, true, release_t{now + LEASE, true});
    case key_request_t::RENEW:
      break;
  }
  return false;
}

bool KeyHolder::Renew(int key, TimePoint now) {
  const std::lock_guard lock(mutex_);
  std::optional<release_t>& release = releases_.at(static_cast<std::size_t>(key - 1));
  if (!release || !release->isLeased) return false;
  release->at = now + LEASE;
  return true;
}

bool KeyHolder::Press(int key, TimePoint now) {
  return Hold(key, true, release_t{now + PRESS});
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
    std::optional<release_t>& release = releases_.at(static_cast<std::size_t>(key - 1));
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
