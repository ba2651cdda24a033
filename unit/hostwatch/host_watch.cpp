#include "unit/hostwatch/host_watch.h"

#include <algorithm>
#include <utility>

namespace unit {
namespace {

constexpr std::uint8_t OPERATING_VALUES = 2;
constexpr std::size_t OPERATING_VALUES_SIZE = 41;
constexpr std::uint8_t SETTINGS = 7;
constexpr std::uint8_t UNITS = 11;
constexpr std::uint8_t HIGHEST_UNITS = 1;

// Requests that the application answers at once: in a single frame they may stand between the frames of another
// message.
constexpr std::uint8_t KEY_STATE = 6;
constexpr std::array<std::uint8_t, 5> ANSWERED_SETTINGS = {3, 4, 5, 7, 9};

bool IsAnsweredAtOnce(std::span<const std::uint8_t> frame) {
  if (frame[0] != 0 || frame[1] != 1) return false;
  const bool isAnswered = std::ranges::find(ANSWERED_SETTINGS, frame[3]) != ANSWERED_SETTINGS.end();
  return frame[2] == KEY_STATE || (frame[2] == SETTINGS && isAnswered);
}

}  // namespace

bool HostWatch::Accept(std::span<const std::uint8_t> frame, TimePoint now) {
  const std::lock_guard lock(mutex_);
  if (frame.size() < FRAME_SIZE || IsAnsweredAtOnce(frame) || !Join(frame)) return false;
  const unsigned frames = std::exchange(frames_, 0);
  if (head_[0] == SETTINGS && head_[1] == UNITS) return NoteUnits(head_[2]);
  if (head_[0] != OPERATING_VALUES) return false;
  if (MessageRoom(frames) >= OPERATING_VALUES_SIZE) {
    NoteValues(now);
    return false;
  }
  return std::exchange(knownSince_, std::nullopt).has_value();
}

// True when the frame completes a message. The rules are the application's: a frame out of sequence ends the
// message in progress and begins none, and a message that is too long for the application's block is not one.
bool HostWatch::Join(std::span<const std::uint8_t> frame) {
  if (frames_ == 0) return Begin(frame);
  if (frame[0] != next_) {
    frames_ = 0;
    return false;
  }
  if (++next_ < frames_) return false;
  if (frames_ <= MAX_MESSAGE_FRAMES) return true;
  frames_ = 0;
  return false;
}

bool HostWatch::Begin(std::span<const std::uint8_t> frame) {
  if (frame[0] != 0 || frame[1] == 0) return false;
  frames_ = frame[1];
  next_ = 1;
  std::ranges::copy(frame.last(FIRST_FRAME_ROOM), head_.begin());
  return frames_ == 1;
}

void HostWatch::ForgetMessage() {
  const std::lock_guard lock(mutex_);
  frames_ = 0;
}

void HostWatch::ForgetValues() {
  const std::lock_guard lock(mutex_);
  knownSince_.reset();
}

void HostWatch::NoteValues(TimePoint now) {
  if (!knownSince_ || now - valuesAt_ > LIFETIME) knownSince_ = now;
  valuesAt_ = now;
}

// The units are not known before the first message, so that the first one may be a change.
bool HostWatch::NoteUnits(std::uint8_t units) {
  if (units > HIGHEST_UNITS || units_ == units) return false;
  units_ = units;
  return std::exchange(knownSince_, std::nullopt).has_value();
}

bool HostWatch::IsFresh(TimePoint now) const {
  return knownSince_ && now - *knownSince_ >= SETTLE && now - valuesAt_ <= LIFETIME;
}

host_report_t HostWatch::MakeReport(TimePoint now) const {
  const std::lock_guard lock(mutex_);
  return {.areValuesFresh = IsFresh(now), .valuesAt = valuesAt_};
}

std::optional<host_report_t> HostWatch::TakeIfDue(TimePoint now) {
  const host_report_t report = MakeReport(now);
  const std::lock_guard lock(mutex_);
  if (report.areValuesFresh == taken_.areValuesFresh && now - takenAt_ < REPEAT) return std::nullopt;
  takenAt_ = now;
  taken_ = report;
  return report;
}

}  // namespace unit
