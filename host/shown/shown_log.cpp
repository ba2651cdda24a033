#include "host/shown/shown_log.h"

#include <utility>

#include "src/core/frame_layout.h"

namespace host {
namespace {

constexpr std::uint64_t SILENCE_US = 11'000'000;  // the display reports a lost link after ten to eleven seconds
constexpr std::uint64_t NOTICED_US = 10'000'000;

std::size_t HashTexts(const shown_texts_t& shown) {
  constexpr std::size_t FACTOR = 1'000'003;
  std::size_t hash = 0;
  for (const auto& [name, text] : shown) {
    hash = (hash * FACTOR + std::hash<std::string>()(name)) * FACTOR + std::hash<std::string>()(text);
  }
  return hash;
}

bool IsFromHost(const bus::frame_t& frame) {
  return frame.extended && frame.identifier == HOST_FRAME_ID;
}

}  // namespace

std::optional<shown_at_t> ShownLog::Changed(std::uint64_t time_us) {
  if (state_.Shown() == *last_) return std::nullopt;
  last_ = std::make_shared<shown_texts_t>(state_.Shown());
  return shown_at_t{time_us, last_, HashTexts(*last_)};
}

// Notes a frame of the host. If the silence before it was long enough for the display to report a lost link,
// returns when the display did so.
std::optional<std::uint64_t> ShownLog::NoteHost(const bus::frame_t& frame) {
  const std::uint64_t before_us = lastHost_us_.value_or(frame.time_us);
  lastHost_us_ = frame.time_us;
  const bool lost = frame.time_us >= before_us + SILENCE_US;
  state_.SetLinkLost(lost);
  if (!lost) return std::nullopt;
  return before_us + NOTICED_US;
}

std::optional<shown_at_t> ShownLog::Next() {
  for (;;) {
    const auto frame = kept_ ? std::exchange(kept_, std::nullopt) : reader_.Next();
    if (!frame) return std::nullopt;
    if (const auto lost_us = IsFromHost(*frame) ? NoteHost(*frame) : std::nullopt) {
      kept_ = frame;
      return Changed(*lost_us);
    }
    const auto message = decoder_.Accept(*frame);
    if (message && message->sender == sender_t::HOST) state_.Apply(message->bytes);
    if (auto changed = Changed(frame->time_us)) return changed;
  }
}

}  // namespace host
