#include "unit/screen/service/screen_worker.h"

#include <array>
#include <iostream>
#include <set>
#include <stdexcept>
#include <utility>

#include "platform/byte_order.h"
#include "platform/threads.h"

#include "src/compositing/compositor_messages.h"
#include "src/services/nm_messages.h"
#include "unit/database/attach.h"
#include "unit/screen/client/screen_requests.h"
#include "unit/screen/service/screen_json.h"
#include "unit/service/database_change.h"
#include "unit/service/program_state.h"

namespace unit {
namespace {

using namespace std::chrono_literals;

constexpr auto PACE = 20ms;  // between two publications, but after "process commands" and events
constexpr auto IDLE_PACE = 50ms;
constexpr auto TEXT_LIMIT = 100ms;    // then a text takes effect without "process commands"
constexpr auto PROGRAM_SILENCE = 2s;  // "process commands" comes at least every 100 ms
// An application that was silent for so long first carries out what the host sent meanwhile.
constexpr auto PROGRAM_SETTLE = 300ms;
constexpr auto OWN_PAUSE = 1s;  // without a step: the process was stopped, and what waits for it is old
constexpr auto MARK_PERIOD = 250ms;
constexpr auto MARK_LATE = 2s;  // the newest mark is older: so are the values
constexpr const char* MARK_CHANNEL_NAME = "unit.ScreenMark";
constexpr auto READ_PERIOD = 1s;
constexpr auto SIGN_PERIOD = 500ms;  // a change is published so often, even an empty one, as a sign of life
// Words of the front panel and of the window stand in the same catalogue.
const std::set<std::string> OTHER_USERS{"panel.", "window."};

enum channel_index_t : std::size_t {
  SCREEN_MESSAGES = 0,
  DATABASE_CHANGES = 1,
  FAULTS = 2,
  MARKS = 3,
  HOST = 4,
  PROGRAM = 5,
  EVENTS = 6
};

const message_reply_t NO_ANSWER{-2, {}};

void Print(const std::string& line) {
  std::cerr << "screen: " + line + "\n" << std::flush;
}

}  // namespace

ScreenModel ScreenWorker::MakeModel(const options_t& options) {
  screen_names_t names = ReadScreenNames(options.genericFile);
  std::vector<std::string> problems;
  design_t design = ReadDesign(designFolder_, WidgetNames(names), problems);
  for (std::string& problem : CheckDesign(design)) problems.push_back(std::move(problem));
  word_catalogue_t words = ReadCheckedWords(design, problems);
  for (const std::string& problem : problems) Print(problem);
  if (!problems.empty()) throw std::runtime_error(problems.front());
  if (design.empty()) throw std::runtime_error(designFolder_.string() + ": the folder has no page (*.svg)");
  return {std::move(names), std::move(design), std::move(words)};
}

word_catalogue_t ScreenWorker::ReadCheckedWords(const design_t& design,
                                                std::vector<std::string>& problems) const {
  word_catalogue_t words = ReadWords(wordsFolder_, problems);
  for (std::string& problem : CheckWords(words, WordsUsed(design), OTHER_USERS)) {
    problems.push_back(std::move(problem));
  }
  return words;
}

ScreenWorker::ScreenWorker(const options_t& options)
    : designFolder_(std::filesystem::path(options.configDirectory) / "screen"),
      wordsFolder_(std::filesystem::path(options.configDirectory) / "words"),
      watch_(designFolder_),
      wordsWatch_(wordsFolder_),
      model_(MakeModel(options)),
      variables_(model_),
      faults_(model_),
      compositor_([this](const std::string& path) { return pictures_.Find(path); }),
      actions_(model_.Names(), link_) {
  if (model_.Design().contains(pageMemory_.Remembered())) model_.ShowPage(pageMemory_.Remembered());
  ReadVariables();
  const std::vector<std::string> channels{SCREEN_NEWS_CHANNEL_NAME, DATABASE_CHANNEL_NAME, FAULT_CHANNEL_NAME,
                                          MARK_CHANNEL_NAME,        HOST_CHANNEL_NAME,     PROGRAM_CHANNEL_NAME,
                                          EVENT_NEWS_CHANNEL_NAME};
  compositorServer_ = std::make_unique<MessageServer>(
      Compositing::SERVER_NAME, Compositing::QUEUE_SIZE + Compositing::RECORD_HEADER_SIZE,
      [this](auto message, int) { return AcceptDrawing(message); });
  requestServer_ = std::make_unique<MessageServer>(
      SCREEN_REQUEST_NAME, 64, [this](auto message, int rcvid) { return Answer(message, rcvid); });
  subscriber_ = std::make_unique<Subscriber>(
      channels, [this](std::size_t channel, auto payload) { AcceptMessage(channel, payload); });
  pace_ = std::thread([this] { Pace(); });
}

ScreenWorker::~ScreenWorker() {
  subscriber_.reset();
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  wakePace_.notify_all();
  pace_.join();
  // A whole unit that stops has ended its application first. One that goes on is on this page.
  if (!programHeard_) pageMemory_.Forget();
}

// --- Messages of the application and of the database

void ScreenWorker::AcceptMessage(std::size_t channel, std::span<const std::uint8_t> payload) {
  if (channel == SCREEN_MESSAGES) AcceptScreenMessage(payload);
  if (channel == DATABASE_CHANGES) AcceptVariable(payload);
  if (channel == FAULTS) AcceptFaults(payload);
  if (channel == MARKS) AcceptMark(payload);
  if (channel == HOST) AcceptHost(payload);
  if (channel == PROGRAM) AcceptProgram(payload);
  if (channel == EVENTS) AcceptEvent(payload);
}

void ScreenWorker::AcceptScreenMessage(std::span<const std::uint8_t> payload) {
  std::optional<screen_command_t> command = ReadScreenMessage(payload);
  const std::lock_guard lock(mutex_);
  if (!command) {
    ++malformed_;
    Report(malformedLines_, "malformed message of " + std::to_string(payload.size()) + " bytes ignored");
    return;
  }
  const auto now = Clock::now();
  const std::int32_t target = command->target;
  // No other message is a sign of life: the notification manager repeats those that set a text.
  if (command->operation == SCREEN_PROCESS_COMMANDS) {
    if (now - lastProgramMessage_ > PROGRAM_SILENCE) programBackAt_ = now;
    lastProgramMessage_ = now;
    programHeard_ = true;
  }
  const bool wasPending = model_.HasPending();
  if (!model_.Accept(std::move(*command))) {
    Report(unknownLines_, "no widget has the handle " + std::to_string(target) + "; message ignored");
  }
  if (!wasPending) pendingSince_ = now;
  if (model_.HasPending()) WakePaceBy(pendingSince_ + TEXT_LIMIT);
  if (wasPending && !model_.HasPending()) WakePaceBy(now);
}

void ScreenWorker::AcceptEvent(std::span<const std::uint8_t> payload) {
  if (payload.size() != 4) return;
  const std::lock_guard lock(mutex_);
  if (model_.HandleEvent(platform::LoadLe32(payload, 0))) WakePaceBy(Clock::now());
}

void ScreenWorker::AcceptVariable(std::span<const std::uint8_t> payload) {
  const std::optional<database_change_t> change = ReadDatabaseChange(payload);
  if (!change) return;
  const std::lock_guard lock(mutex_);
  variables_.Accept(*change);
  WakePaceBy(Clock::now() + (model_.HasNotices() ? 0ms : PACE));
}

void ScreenWorker::AcceptFaults(std::span<const std::uint8_t> payload) {
  const std::optional<fault_report_t> report = ReadFaultReport(payload);
  const std::lock_guard lock(mutex_);
  if (!report) return;
  faults_.Take(*report, Clock::now());
  WakePaceBy(Clock::now() + PACE);
}

void ScreenWorker::AcceptHost(std::span<const std::uint8_t> payload) {
  const std::optional<host_report_t> report = ReadHostReport(payload);
  const std::lock_guard lock(mutex_);
  if (!report) return;
  host_.Accept(*report, Clock::now());
  UpdateDataState(Clock::now());
  WakePaceBy(Clock::now() + PACE);
}

void ScreenWorker::AcceptProgram(std::span<const std::uint8_t> payload) {
  const std::optional<program_state_t> state = ReadProgramState(payload);
  if (!state) return;
  const std::lock_guard lock(mutex_);
  if (state->isRunning) return host_.NoteProgramStart(state->since);
  programHeard_ = false;
  lastProgramMessage_ = {};
  UpdateDataState(Clock::now());
  WakePaceBy(Clock::now() + PACE);
}

void ScreenWorker::AcceptMark(std::span<const std::uint8_t> payload) {
  if (payload.size() != sizeof(std::int64_t)) return;
  const Clock::time_point sent{Clock::duration{static_cast<std::int64_t>(platform::LoadLe64(payload, 0))}};
  const std::lock_guard lock(mutex_);
  newestMark_ = sent;
}

// The mutex is held.
void ScreenWorker::Report(base::LineLimiter& limiter, const std::string& what) {
  if (const auto line = limiter.Note(what, Clock::now())) Print(*line);
}

// --- Drawings and requests

message_reply_t ScreenWorker::AcceptDrawing(std::span<const std::uint8_t> message) {
  std::string bytes(4, '\0');
  const std::lock_guard lock(mutex_);
  const compositor_reply_t result = compositor_.Accept(message);
  if (const std::string problem = pictures_.TakeProblem(); !problem.empty()) Report(pictureLines_, problem);
  model_.SetPictures(pictures_.Definitions());
  model_.SetDrawing(compositor_.Drawing());
  WakePaceBy(Clock::now() + PACE);
  bytes[0] = static_cast<char>(result);
  return {0, bytes};
}

std::optional<message_reply_t> ScreenWorker::Answer(std::span<const std::uint8_t> message, int rcvid) {
  if (message.size() != 4) return NO_ANSWER;
  const std::uint32_t request = platform::LoadLe32(message, 0);
  if (request == SCREEN_REQUEST_PNG) {
    DrawPicture(rcvid);
    return {};
  }
  std::string bytes = Document(request);
  if (bytes.empty()) return NO_ANSWER;
  return message_reply_t{static_cast<long>(bytes.size()), std::move(bytes)};
}

// Empty for an unknown request.
std::string ScreenWorker::Document(std::uint32_t request) {
  const std::lock_guard lock(mutex_);
  UpdateDataState(Clock::now());
  if (request == SCREEN_REQUEST_STATE) return FormatState(model_);
  return request == SCREEN_REQUEST_SVG ? model_.Svg() : std::string();
}

void ScreenWorker::DrawPicture(int rcvid) {
  drawer_.Draw(Document(SCREEN_REQUEST_SVG), [rcvid](const std::string& png) {
    SendReply(rcvid, png.empty() ? NO_ANSWER : message_reply_t{static_cast<long>(png.size()), png});
  });
}

// --- Pace

void ScreenWorker::Pace() {
  platform::NameThread("screen pace");
  platform::RaiseThread();
  std::unique_lock lock(mutex_);
  while (!stopping_) {
    const auto now = Clock::now();
    nextStep_ = now + IDLE_PACE;
    lock.unlock();
    Step(now);
    lock.lock();
    while (!stopping_ && Clock::now() < nextStep_) wakePace_.wait_until(lock, nextStep_);
  }
}

// The mutex is held.
void ScreenWorker::WakePaceBy(Clock::time_point when) {
  if (when >= nextStep_) return;
  nextStep_ = when;
  wakePace_.notify_all();
}

void ScreenWorker::Step(Clock::time_point now) {
  ApplyOverdue(now);
  if (now >= nextRead_) {
    nextRead_ = now + READ_PERIOD;
    ReadVariables();
  }
  {
    const std::lock_guard lock(mutex_);
    UpdateDataState(now);
  }
  PublishMark(now);
  ReloadDesign(now);
  PostActions(now);
  PublishChange(now);
}

void ScreenWorker::ApplyOverdue(Clock::time_point now) {
  const std::lock_guard lock(mutex_);
  if (model_.HasPending() && now - pendingSince_ >= TEXT_LIMIT) model_.ProcessCommands();
}

// The mutex is held.
void ScreenWorker::UpdateDataState(Clock::time_point now) {
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
// been read, and while the newest is old: the subscriber reads more slowly than the application writes, or the
// notification manager does not answer. The mutex is held.
bool ScreenWorker::IsBehind(Clock::time_point now) const {
  return newestMark_ < resumedAt_ || now - newestMark_ > MARK_LATE;
}

void ScreenWorker::PublishMark(Clock::time_point now) {
  if (now < nextMark_) return;
  nextMark_ = now + MARK_PERIOD;
  std::array<std::uint8_t, sizeof(std::int64_t)> mark{};
  platform::StoreLe64(mark, 0, static_cast<std::uint64_t>(now.time_since_epoch().count()));
  link_.Publish(MARK_CHANNEL_NAME, mark);
}

void ScreenWorker::PublishChange(Clock::time_point now) {
  std::unique_lock lock(mutex_);
  const screen_change_t change = model_.DrainChange();
  lock.unlock();
  if (change.revision == change.previous && now < nextSign_) return;
  nextSign_ = now + SIGN_PERIOD;
  link_.Publish(SCREEN_CHANGES_CHANNEL_NAME, FormatChange(change, NM_PAYLOAD_SIZE));
}

void ScreenWorker::PostActions(Clock::time_point now) {
  std::unique_lock lock(mutex_);
  const std::string page = model_.Page().action;
  const std::string name = model_.Page().name;
  const std::vector<std::string> notices = model_.DrainNotices();
  lock.unlock();
  pageMemory_.Write(name);
  actions_.PostPage(page, now);
  for (const std::string& action : notices) actions_.Post(action);
}

void ScreenWorker::ReloadDesign(Clock::time_point now) {
  const bool designChanged = watch_.Changed(now);
  if (!wordsWatch_.Changed(now) && !designChanged) return;
  std::vector<std::string> problems;
  design_t design = ReadDesign(designFolder_, WidgetNames(model_.Names()), problems);
  word_catalogue_t words = ReadWords(wordsFolder_, problems);
  const std::lock_guard lock(mutex_);
  for (std::string& problem : model_.ReplacePages(std::move(design))) problems.push_back(std::move(problem));
  model_.ReplaceWords(std::move(words));
  for (const std::string& problem : problems) Print(problem + "; the page stays unchanged");
  designProblem_ = problems.empty() ? "" : problems.front();
}

void ScreenWorker::ReadVariables() {
  const DatabaseView database;
  if (database.Number() == 0) return;
  const std::lock_guard lock(mutex_);
  variables_.ReadAll(database.Number());
}

// --- Health

status_t ScreenWorker::GetStatus() const {
  const std::lock_guard lock(mutex_);
  if (!subscriber_->IsConnected()) return {"screen", false, "no notification manager", Counters()};
  return {"screen", true, designProblem_.empty() ? "page " + model_.Page().name : designProblem_, Counters()};
}

// The mutex is held.
std::map<std::string, std::uint64_t> ScreenWorker::Counters() const {
  const screen_counters_t& counters = model_.Counters();
  const compositor_counters_t& drawings = compositor_.Counters();
  return {{"commands", counters.commands},
          {"malformed", malformed_},
          {"unknownWidgets", counters.unknownWidgets},
          {"unknownEvents", counters.unknownEvents},
          {"eventsIgnored", counters.eventsIgnored},
          {"pageChanges", counters.pageChanges},
          {"drawings", drawings.messages},
          {"frames", drawings.frames},
          {"recordsSkipped", drawings.recordsSkipped},
          {"operationsRefused", drawings.operationsRefused},
          {"picturesMissing", drawings.picturesMissing}};
}

}  // namespace unit
