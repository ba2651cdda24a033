#include "unit/screen/live/live_screen.h"

#include <utility>

#include "platform/byte_order.h"

#include "unit/service/program_state.h"

namespace unit {
namespace {

using namespace std::chrono_literals;

constexpr auto TEXT_LIMIT = 100ms;    // then a text takes effect without "process commands"
constexpr auto PROGRAM_SILENCE = 2s;  // "process commands" comes at least every 100 ms
// An application that was silent for so long first carries out what the host sent meanwhile.
constexpr auto PROGRAM_SETTLE = 300ms;
constexpr auto OWN_PAUSE = 1s;  // without a step: the process was stopped, and what waits for it is old
constexpr auto MARK_LATE = 2s;  // the newest mark is older: so are the values

}  // namespace

const std::array<LiveScreen::accept_t, SCREEN_SOURCES> LiveScreen::ACCEPT{
    &LiveScreen::AcceptScreenMessage, &LiveScreen::AcceptVariable, &LiveScreen::AcceptFaults,
    &LiveScreen::AcceptMark,          &LiveScreen::AcceptHost,     &LiveScreen::AcceptProgram,
    &LiveScreen::AcceptEvent};

LiveScreen::LiveScreen(ScreenModel model, std::function<void(const std::string&)> print, TimePoint now)
    : model_(std::move(model)),
      variables_(model_),
      faults_(model_),
      compositor_([this](const std::string& path) { return pictures_.Find(path); }),
      print_(std::move(print)),
      lastProgramMessage_(now),
      lastStep_(now),
      resumedAt_(now) {}

LiveScreen::TimePoint LiveScreen::Accept(screen_source_t source, std::span<const std::uint8_t> payload,
                                         TimePoint now) {
  return (this->*ACCEPT.at(static_cast<std::size_t>(source)))(payload, now);
}

LiveScreen::TimePoint LiveScreen::AcceptScreenMessage(std::span<const std::uint8_t> payload, TimePoint now) {
  std::optional<screen_command_t> command = ReadScreenMessage(payload);
  if (!command) {
    ++malformed_;
    Report(malformedLines_, "malformed message of " + std::to_string(payload.size()) + " bytes ignored", now);
    return NEVER;
  }
  const std::int32_t target = command->target;
  // No other message is a sign of life: the notification manager repeats those that set a text.
  if (command->operation == SCREEN_PROCESS_COMMANDS) NoteProgram(now);
  const bool wasPending = model_.HasPending();
  if (!model_.Accept(std::move(*command))) {
    Report(unknownLines_, "no widget has the handle " + std::to_string(target) + "; message ignored", now);
  }
  if (!wasPending) pendingSince_ = now;
  if (model_.HasPending()) return pendingSince_ + TEXT_LIMIT;
  return wasPending ? now : NEVER;
}

void LiveScreen::NoteProgram(TimePoint now) {
  if (now - lastProgramMessage_ > PROGRAM_SILENCE) programBackAt_ = now;
  lastProgramMessage_ = now;
  programHeard_ = true;
}

LiveScreen::TimePoint LiveScreen::AcceptEvent(std::span<const std::uint8_t> payload, TimePoint now) {
  if (payload.size() != 4) return NEVER;
  return model_.HandleEvent(platform::LoadLe32(payload, 0)) ? now : NEVER;
}

LiveScreen::TimePoint LiveScreen::AcceptVariable(std::span<const std::uint8_t> payload, TimePoint now) {
  const std::optional<database_change_t> change = ReadDatabaseChange(payload);
  if (!change) return NEVER;
  variables_.Accept(*change);
  return now + (model_.HasNotices() ? 0ms : PACE);
}

LiveScreen::TimePoint LiveScreen::AcceptFaults(std::span<const std::uint8_t> payload, TimePoint now) {
  const std::optional<fault_report_t> report = ReadFaultReport(payload);
  if (!report) return NEVER;
  faults_.Take(*report, now);
  return now + PACE;
}

LiveScreen::TimePoint LiveScreen::AcceptHost(std::span<const std::uint8_t> payload, TimePoint now) {
  const std::optional<host_report_t> report = ReadHostReport(payload);
  if (!report) return NEVER;
  host_.Accept(*report, now);
  UpdateDataState(now);
  return now + PACE;
}

LiveScreen::TimePoint LiveScreen::AcceptProgram(std::span<const std::uint8_t> payload, TimePoint now) {
  const std::optional<program_state_t> state = ReadProgramState(payload);
  if (!state) return NEVER;
  if (state->isRunning) {
    host_.NoteProgramStart(state->since);
    return NEVER;
  }
  programHeard_ = false;
  lastProgramMessage_ = {};
  UpdateDataState(now);
  return now + PACE;
}

LiveScreen::TimePoint LiveScreen::AcceptMark(std::span<const std::uint8_t> payload, TimePoint /*now*/) {
  if (payload.size() != sizeof(std::int64_t)) return NEVER;
  newestMark_ = TimePoint{Clock::duration{static_cast<std::int64_t>(platform::LoadLe64(payload, 0))}};
  return NEVER;
}

std::array<std::uint8_t, sizeof(std::int64_t)> LiveScreen::MakeMark(TimePoint now) {
  std::array<std::uint8_t, sizeof(std::int64_t)> mark{};
  platform::StoreLe64(mark, 0, static_cast<std::uint64_t>(now.time_since_epoch().count()));
  return mark;
}

compositor_reply_t LiveScreen::AcceptDrawing(std::span<const std::uint8_t> message, TimePoint now) {
  const compositor_reply_t result = compositor_.Accept(message);
  if (const std::string problem = pictures_.TakeProblem(); !problem.empty())
    Report(pictureLines_, problem, now);
  model_.SetPictures(pictures_.Definitions());
  model_.SetDrawing(compositor_.Drawing());
  return result;
}

void LiveScreen::Step(TimePoint now) {
  if (model_.HasPending() && now - pendingSince_ >= TEXT_LIMIT) model_.ProcessCommands();
  UpdateDataState(now);
}

void LiveScreen::UpdateDataState(TimePoint now) {
  if (now - lastStep_ > OWN_PAUSE) {
    resumedAt_ = now;
    lastProgramMessage_ = now;  // it was this process that was silent
    programHeard_ = false;
  }
  lastStep_ = now;
  const bool hasEnded = now - lastProgramMessage_ > PROGRAM_SILENCE;
  faults_.Expire(now);
  const bool isSettling = now - programBackAt_ < PROGRAM_SETTLE;
  model_.UpdateDataState({.isProgramSilent = hasEnded || !programHeard_ || isSettling || IsBehind(now),
                          .hasProgramEnded = hasEnded,
                          .isBusReceived = host_.IsBusReceived(now),
                          .areValuesFresh = host_.AreValuesFresh(now)});
  model_.LeaveForLostLink();
}

// True until a mark came back that was sent after the service's start or pause, so that all that waited has
// been read, and while the newest is old: the owner reads more slowly than the application writes, or the
// notification manager does not answer.
bool LiveScreen::IsBehind(TimePoint now) const {
  return newestMark_ < resumedAt_ || now - newestMark_ > MARK_LATE;
}

void LiveScreen::Report(base::LineLimiter& limiter, const std::string& what, TimePoint now) {
  if (const auto line = limiter.Note(what, now)) print_(*line);
}

}  // namespace unit
