#include "unit/screen/service/screen_worker.h"

#include <array>
#include <iostream>
#include <set>
#include <stdexcept>
#include <utility>

#include "platform/byte_order.h"

#include "src/compositing/compositor_messages.h"
#include "src/services/dbshm.h"
#include "src/services/nm_messages.h"
#include "unit/database/attach.h"
#include "unit/screen/client/screen_requests.h"
#include "unit/screen/render/renderer.h"
#include "unit/screen/service/screen_json.h"

namespace unit {
namespace {

using namespace std::chrono_literals;

constexpr auto PACE = 20ms;
constexpr auto TEXT_LIMIT = 100ms;    // a text that no "process commands" follows takes effect then
constexpr auto PROGRAM_SILENCE = 2s;  // the application ends every 10 ms cycle with "process commands"
constexpr auto POST_PERIOD = 1s;
constexpr auto READ_PERIOD = 1s;
constexpr auto RELOAD_DELAY = 100ms;  // an editor may write several files
// Words of the front panel and of the window stand in the same catalogue.
const std::set<std::string> OTHER_USERS{"panel.", "window."};
constexpr const char* LINK_VARIABLE = "OrvikHX7TimeOutLamp";
constexpr double LINK_LOST = 2.0;

enum channel_index_t : std::size_t { SCREEN_MESSAGES = 0, DATABASE_CHANGES = 1, EVENTS = 2 };

void Print(const std::string& line) {
  std::cerr << "screen: " + line + "\n" << std::flush;
}

variable_value_t ReadParameter(unsigned handle) {
  double value = 0;
  return DBSHM::Read(handle, value) == 1 ? variable_value_t(value) : std::nullopt;
}

}  // namespace

ScreenModel ScreenWorker::MakeModel(const options_t& options) {
  screen_names_t names = LoadScreenNames(options.genericFile);
  std::vector<std::string> problems;
  design_t design = LoadDesign(designFolder_, WidgetNames(names), problems);
  for (std::string& problem : CheckDesign(design)) problems.push_back(std::move(problem));
  word_catalogue_t words = ReadWords(design, problems);
  for (const std::string& problem : problems) Print(problem);
  if (!problems.empty()) throw std::runtime_error(problems.front());
  if (design.empty()) throw std::runtime_error(designFolder_.string() + ": there is no page (*.svg) in it");
  return {std::move(names), std::move(design), std::move(words)};
}

word_catalogue_t ScreenWorker::ReadWords(const design_t& design, std::vector<std::string>& problems) const {
  word_catalogue_t words = LoadWords(wordsFolder_, problems);
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
      compositor_([this](const std::string& path) { return pictures_.Find(path); }) {
  ReadVariables();
  std::vector<std::string> channels{SCREEN_CHANNEL_NAME, DATABASE_CHANNEL_NAME};
  if (!model_.Names().eventChannel.empty()) channels.push_back(model_.Names().eventChannel);
  compositorServer_ = std::make_unique<MessageServer>(Compositing::SERVER_NAME,
                                                      Compositing::QUEUE_SIZE + Compositing::RECORD_HEADER_SIZE,
                                                      [this](auto message) { return TakeDrawing(message); });
  requestServer_ = std::make_unique<MessageServer>(SCREEN_REQUEST_NAME, 64,
                                                   [this](auto message) { return Answer(message); });
  subscriber_ = std::make_unique<Subscriber>(
      channels, [this](std::size_t channel, auto payload) { TakeMessage(channel, payload); });
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
}

// --- Messages of the application and of the database

void ScreenWorker::TakeMessage(std::size_t channel, std::span<const std::uint8_t> payload) {
  if (channel == SCREEN_MESSAGES) TakeScreenMessage(payload);
  if (channel == DATABASE_CHANGES) TakeVariable(payload);
  if (channel == EVENTS) TakeEvent(payload);
}

void ScreenWorker::TakeScreenMessage(std::span<const std::uint8_t> payload) {
  std::optional<screen_command_t> command = ReadScreenMessage(payload);
  const std::lock_guard lock(mutex_);
  if (!command) {
    ++malformed_;
    Report(malformedLines_, "malformed message of " + std::to_string(payload.size()) + " bytes passed over");
    return;
  }
  const auto now = clock_t::now();
  const std::int32_t target = command->target;
  lastProgramMessage_ = now;
  const bool wasPending = model_.HasPending();
  if (!model_.Accept(std::move(*command))) {
    Report(unknownLines_, "no widget has the handle " + std::to_string(target) + "; message passed over");
  }
  if (!wasPending) pendingSince_ = now;
}

void ScreenWorker::TakeEvent(std::span<const std::uint8_t> payload) {
  if (payload.size() != 4) return;
  const std::lock_guard lock(mutex_);
  if (!model_.HandleEvent(platform::LoadLe32(payload, 0))) return;
  wake_ = true;
  wakePace_.notify_all();
}

void ScreenWorker::TakeVariable(std::span<const std::uint8_t> payload) {
  constexpr std::size_t VALUE_AT = 8;
  if (payload.size() != VALUE_AT + sizeof(double)) return;
  const std::lock_guard lock(mutex_);
  const auto found = variablesByHandle_.find(platform::LoadLe32(payload, 0));
  if (found == variablesByHandle_.end()) return;
  for (const std::string& name : found->second)
    model_.SetVariable(name, platform::LoadLeDouble(payload, VALUE_AT));
  if (!model_.HasNotices()) return;
  wake_ = true;
  wakePace_.notify_all();
}

// The mutex is held.
void ScreenWorker::Report(LineLimiter& limiter, const std::string& what) {
  if (const auto line = limiter.Note(what, clock_t::now())) Print(*line);
}

// --- Drawings and requests

reply_t ScreenWorker::TakeDrawing(std::span<const std::uint8_t> message) {
  std::string bytes(4, '\0');
  const std::lock_guard lock(mutex_);
  const compositor_reply_t result = compositor_.Take(message);
  model_.SetPictures(pictures_.Definitions());
  model_.SetDrawing(compositor_.Drawing());
  bytes[0] = static_cast<char>(result);
  return {0, bytes};
}

reply_t ScreenWorker::Answer(std::span<const std::uint8_t> message) {
  if (message.size() != 4) return {-2, {}};
  std::string bytes;
  switch (platform::LoadLe32(message, 0)) {
    case SCREEN_REQUEST_STATE: {
      const std::lock_guard lock(mutex_);
      bytes = FormatState(model_);
      break;
    }
    case SCREEN_REQUEST_SVG: {
      const std::lock_guard lock(mutex_);
      bytes = model_.Svg();
      break;
    }
    case SCREEN_REQUEST_PNG:
      bytes = Picture();
      break;
    default:
      break;
  }
  if (bytes.empty()) return {-2, {}};
  return {static_cast<long>(bytes.size()), std::move(bytes)};
}

std::string ScreenWorker::Picture() {
  std::unique_lock lock(mutex_);
  std::string svg = model_.Svg();
  lock.unlock();
  if (svg == drawnSvg_) return drawnPng_;
  try {
    drawnPng_ = RenderPng(svg);
    drawnSvg_ = std::move(svg);
    return drawnPng_;
  } catch (const std::runtime_error& error) {
    Print(error.what());
    return {};
  }
}

// --- Pace

void ScreenWorker::Pace() {
  std::unique_lock lock(mutex_);
  while (!stopping_) {
    lock.unlock();
    Step(clock_t::now());
    lock.lock();
    wakePace_.wait_for(lock, PACE, [this] { return stopping_ || wake_; });
    wake_ = false;
  }
}

void ScreenWorker::Step(clock_t::time_point now) {
  ApplyOverdue(now);
  if (now >= nextRead_) {
    nextRead_ = now + READ_PERIOD;
    ReadVariables();
  }
  UpdateDataState(now);
  ReloadDesign(now);
  PostPage(now);
  PostNotices();
  PublishChange();
}

void ScreenWorker::ApplyOverdue(clock_t::time_point now) {
  const std::lock_guard lock(mutex_);
  if (model_.HasPending() && now - pendingSince_ >= TEXT_LIMIT) model_.ProcessCommands();
}

void ScreenWorker::UpdateDataState(clock_t::time_point now) {
  const std::lock_guard lock(mutex_);
  data_state_t state = DATA_CURRENT;
  const auto link = model_.Variables().find(LINK_VARIABLE);
  if (link != model_.Variables().end() && link->second == LINK_LOST) state = DATA_LINK_LOST;
  if (lastProgramMessage_ == clock_t::time_point{} || now - lastProgramMessage_ > PROGRAM_SILENCE) {
    state = DATA_PROGRAM_SILENT;
  }
  model_.SetDataState(state);
}

void ScreenWorker::PublishChange() {
  std::unique_lock lock(mutex_);
  const screen_change_t change = model_.TakeChange();
  lock.unlock();
  if (change.revision == change.previous) return;
  link_.Publish(SCREEN_CHANGES_CHANNEL_NAME, FormatChange(change, NM_PAYLOAD_SIZE));
}

bool ScreenWorker::PostAction(const std::string& action) {
  const screen_names_t& names = model_.Names();  // constant
  const auto number = names.actions.find(action);
  if (number == names.actions.end() || names.actionChannel.empty()) return false;
  const int channel = link_.NumberOf(names.actionChannel.c_str());
  return channel >= 0 && link_.Publish(names.actionChannel.c_str(), ActionMessage(channel, number->second));
}

// Once a second too, so that an application that starts late, or again, finds its page.
void ScreenWorker::PostPage(clock_t::time_point now) {
  std::unique_lock lock(mutex_);
  const std::string action = model_.Page().action;
  lock.unlock();
  if ((action == postedAction_ && now < nextPost_) || !PostAction(action)) return;
  postedAction_ = action;
  nextPost_ = now + POST_PERIOD;
}

void ScreenWorker::PostNotices() {
  std::unique_lock lock(mutex_);
  const std::vector<std::string> actions = model_.TakeNotices();
  lock.unlock();
  for (const std::string& action : actions) PostAction(action);
}

void ScreenWorker::ReloadDesign(clock_t::time_point now) {
  if (watch_.Changed() || wordsWatch_.Changed()) reloadAt_ = now + RELOAD_DELAY;
  if (reloadAt_ == clock_t::time_point{} || now < reloadAt_) return;
  reloadAt_ = {};
  std::vector<std::string> problems;
  design_t design = LoadDesign(designFolder_, WidgetNames(model_.Names()), problems);
  word_catalogue_t words = LoadWords(wordsFolder_, problems);
  const std::lock_guard lock(mutex_);
  for (std::string& problem : model_.ReplacePages(std::move(design))) problems.push_back(std::move(problem));
  model_.ReplaceWords(std::move(words));
  for (const std::string& problem : problems) Print(problem + "; the page stays as it was");
  designProblem_ = problems.empty() ? "" : problems.front();
}

// Values can cease to be valid without a message, and messages can be lost by a full queue.
void ScreenWorker::ReadVariables() {
  const DatabaseView database;
  if (database.Number() == 0) return;
  const std::lock_guard lock(mutex_);
  if (database.Number() != readDatabase_) {
    readDatabase_ = database.Number();
    variablesByHandle_.clear();
    for (const auto& [name, parameter] : model_.Names().variables) {
      unsigned handle = 0;
      if (DBSHM::getParameterHandle(parameter, handle) == 1) variablesByHandle_[handle].push_back(name);
    }
  }
  for (const auto& [handle, names] : variablesByHandle_) {
    const variable_value_t value = ReadParameter(handle);
    for (const std::string& name : names) model_.SetVariable(name, value);
  }
}

// --- Health

status_t ScreenWorker::GetStatus() const {
  const std::lock_guard lock(mutex_);
  const screen_counters_t& counters = model_.Counters();
  const compositor_counters_t& drawings = compositor_.Counters();
  status_t status{"screen", true, {}, {}};
  status.detail = designProblem_.empty() ? "page " + model_.Page().name : designProblem_;
  if (!subscriber_->IsConnected()) {
    status.up = false;
    status.detail = "no notification manager";
  }
  status.counters = {{"commands", counters.commands},
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
  return status;
}

}  // namespace unit
