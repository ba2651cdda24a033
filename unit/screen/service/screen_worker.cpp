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
#include "unit/faults/fault_report.h"
#include "unit/hostwatch/host_report.h"
#include "unit/screen/client/screen_requests.h"
#include "unit/screen/service/screen_json.h"
#include "unit/service/database_change.h"
#include "unit/service/liveness.h"
#include "unit/service/program_state.h"

namespace unit {
namespace {

using namespace std::chrono_literals;

constexpr auto MARK_PERIOD = 250ms;
constexpr const char* MARK_CHANNEL_NAME = "unit.ScreenMark";
constexpr auto READ_PERIOD = 1s;
constexpr auto SIGN_PERIOD = 500ms;  // a change is published so often, even an empty one, as a sign of life
// Words of the front panel and of the window stand in the same catalogue.
const std::set<std::string> OTHER_USERS{"panel.", "window."};

// By screen_source_t.
const std::vector<std::string> CHANNELS{SCREEN_NEWS_CHANNEL_NAME, DATABASE_CHANNEL_NAME, FAULT_CHANNEL_NAME,
                                        MARK_CHANNEL_NAME,        HOST_CHANNEL_NAME,     PROGRAM_CHANNEL_NAME,
                                        EVENT_NEWS_CHANNEL_NAME};

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
      screen_(MakeModel(options), Print, Clock::now()),
      actions_(screen_.Model().Names(), link_) {
  ScreenModel& model = screen_.Model();
  if (model.Design().contains(pageMemory_.Remembered())) model.ShowPage(pageMemory_.Remembered());
  ReadVariables();
  compositorServer_ = std::make_unique<MessageServer>(
      Compositing::SERVER_NAME, Compositing::QUEUE_SIZE + Compositing::RECORD_HEADER_SIZE,
      [this](auto message, int) { return AcceptDrawing(message); });
  requestServer_ = std::make_unique<MessageServer>(
      SCREEN_REQUEST_NAME, 64, [this](auto message, int rcvid) { return Answer(message, rcvid); });
  subscriber_ = std::make_unique<Subscriber>(
      CHANNELS, [this](std::size_t channel, auto payload) { AcceptMessage(channel, payload); });
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
  if (!screen_.IsProgramHeard()) pageMemory_.Forget();
}

void ScreenWorker::AcceptMessage(std::size_t channel, std::span<const std::uint8_t> payload) {
  const std::lock_guard lock(mutex_);
  WakePaceBy(screen_.Accept(static_cast<screen_source_t>(channel), payload, Clock::now()));
}

// --- Drawings and requests

message_reply_t ScreenWorker::AcceptDrawing(std::span<const std::uint8_t> message) {
  std::string bytes(4, '\0');
  const std::lock_guard lock(mutex_);
  const compositor_reply_t result = screen_.AcceptDrawing(message, Clock::now());
  WakePaceBy(Clock::now() + LiveScreen::PACE);
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
  screen_.UpdateDataState(Clock::now());
  if (request == SCREEN_REQUEST_STATE) return FormatState(screen_.Model());
  return request == SCREEN_REQUEST_SVG ? screen_.Model().Svg() : std::string();
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
  Liveness liveness("screen pace");
  std::unique_lock lock(mutex_);
  while (!stopping_) {
    liveness.Note();
    const auto now = Clock::now();
    nextStep_ = now + LiveScreen::IDLE_PACE;
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
  if (now >= nextRead_) {
    nextRead_ = now + READ_PERIOD;
    ReadVariables();
  }
  {
    const std::lock_guard lock(mutex_);
    screen_.Step(now);
  }
  PublishMark(now);
  ReloadDesign(now);
  PostActions(now);
  PublishChange(now);
}

void ScreenWorker::PublishMark(Clock::time_point now) {
  if (now < nextMark_) return;
  nextMark_ = now + MARK_PERIOD;
  link_.Publish(MARK_CHANNEL_NAME, LiveScreen::MakeMark(now));
}

void ScreenWorker::PublishChange(Clock::time_point now) {
  std::unique_lock lock(mutex_);
  const screen_change_t change = screen_.Model().DrainChange();
  lock.unlock();
  if (change.revision == change.previous && now < nextSign_) return;
  nextSign_ = now + SIGN_PERIOD;
  link_.Publish(SCREEN_CHANGES_CHANNEL_NAME, FormatChange(change, NM_PAYLOAD_SIZE));
}

void ScreenWorker::PostActions(Clock::time_point now) {
  std::unique_lock lock(mutex_);
  ScreenModel& model = screen_.Model();
  const std::string page = model.Page().action;
  const std::string name = model.Page().name;
  const std::vector<std::string> notices = model.DrainNotices();
  lock.unlock();
  pageMemory_.Write(name);
  actions_.PostPage(page, now);
  for (const std::string& action : notices) actions_.Post(action);
}

void ScreenWorker::ReloadDesign(Clock::time_point now) {
  const bool designChanged = watch_.Changed(now);
  if (!wordsWatch_.Changed(now) && !designChanged) return;
  std::vector<std::string> problems;
  design_t design = ReadDesign(designFolder_, WidgetNames(screen_.Model().Names()), problems);
  word_catalogue_t words = ReadWords(wordsFolder_, problems);
  const std::lock_guard lock(mutex_);
  for (std::string& problem : screen_.Model().ReplacePages(std::move(design)))
    problems.push_back(std::move(problem));
  screen_.Model().ReplaceWords(std::move(words));
  for (const std::string& problem : problems) Print(problem + "; the page stays unchanged");
  designProblem_ = problems.empty() ? "" : problems.front();
}

void ScreenWorker::ReadVariables() {
  const DatabaseView database;
  if (database.Number() == 0) return;
  const std::lock_guard lock(mutex_);
  screen_.ReadVariables(database.Number());
}

// --- Health

status_t ScreenWorker::GetStatus() const {
  const std::lock_guard lock(mutex_);
  if (!subscriber_->IsConnected()) return {"screen", false, "no notification manager", Counters()};
  return {"screen", true, designProblem_.empty() ? "page " + screen_.Model().Page().name : designProblem_,
          Counters()};
}

// The mutex is held.
std::map<std::string, std::uint64_t> ScreenWorker::Counters() const {
  const screen_counters_t& counters = screen_.Model().Counters();
  const compositor_counters_t& drawings = screen_.Drawings();
  return {{"commands", counters.commands},
          {"malformed", screen_.Malformed()},
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
