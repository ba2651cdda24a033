#include "film/display/display_film.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <limits>
#include <stdexcept>
#include <utility>
#include <vector>

#include "platform/byte_order.h"

#include "film/display/record_text.h"
#include "film/display/screen_film.h"
#include "film/virtual/virtual_time.h"
#include "film/virtual/virtual_unit.h"
#include "film/virtual/watcher.h"
#include "src/core/frame_layout.h"
#include "src/core/orvik_data.h"
#include "src/startup/application.h"
#include "unit/database/attach.h"
#include "unit/faults/fault_list.h"
#include "unit/hostwatch/host_watch.h"
#include "unit/screen/design/design.h"
#include "unit/screen/live/live_screen.h"
#include "unit/service/database_change.h"
#include "unit/service/program_state.h"

namespace film {
namespace {

using namespace std::chrono_literals;
using unit::screen_source_t;
using Clock = unit::LiveScreen::Clock;

constexpr std::int64_t US_PER_MS = 1'000;
constexpr std::int64_t US_PER_SECOND = 1'000'000;
constexpr std::int64_t START_US =
    3 * US_PER_SECOND;                            // the application is up, and its start is no news any more
constexpr std::int64_t LOOK_US = 10 * US_PER_MS;  // how often the screen looks whether a step is due
constexpr auto MARK_PERIOD = 250ms;
constexpr auto POST_PERIOD = 1s;
constexpr auto READ_PERIOD = 1s;  // a first value that is 0 already changes nothing, and no message tells of it
constexpr const char* SPLASH_PAGE = "Splash";

unit::ScreenModel ReadModel(const std::string& config) {
  unit::screen_names_t names = unit::ReadScreenNames(config + "/generic.xml");
  std::vector<std::string> problems;
  unit::design_t design = unit::ReadDesign(config + "/screen", unit::WidgetNames(names), problems);
  unit::word_catalogue_t words = unit::ReadWords(config + "/words", problems);
  if (!problems.empty()) throw std::runtime_error(problems.front());
  return {std::move(names), std::move(design), std::move(words)};
}

}  // namespace

class DisplayFilm::Display : public Watcher {
 public:
  Display(const film_options_t& options, film_record_t onRecord);

  void PassUntil(std::int64_t time_us);
  void TakeFrame(const bus::frame_t& frame);
  void HoldKey(int key, bool down);
  // Where the log's line of this time stands in virtual time.
  std::int64_t Place(std::uint64_t logTime_us);
  void Finish(std::int64_t time_ms) { PassUntil(Now_us() + time_ms * US_PER_MS); }

 private:
  void OnMessage(channel_t channel, std::span<const std::uint8_t> payload) override;
  void OnWrite(unsigned handle, int code, double value) override;
  void OnLayer(std::span<const std::uint8_t> message) override;
  void OnDevice(const std::string& name, std::string_view command,
                std::span<const std::uint8_t> bytes) override;
  void OnLine(const char* stream, std::string_view line) override;

  void BeginOn(const std::string& page);
  void RunScreen();
  void Step(Clock::time_point now);
  void PostActions(Clock::time_point now);
  void StepBy(Clock::time_point when) { nextStep_ = std::min(nextStep_, when); }
  void Accept(screen_source_t source, std::span<const std::uint8_t> payload);
  std::int64_t Time_ms() const { return (Now_us() - begin_us_) / US_PER_MS; }
  void Write(RecordText&& record);

  const film_record_t onRecord_;
  unit::LiveScreen screen_;
  unit::HostWatch host_;
  unit::FaultList faults_;
  ScreenFilm film_;
  std::unique_ptr<orvikData_t> record_ = std::make_unique<orvikData_t>();
  std::int64_t begin_us_ =
      std::numeric_limits<std::int64_t>::max();  // of the film; before it nothing is written
  std::optional<std::uint64_t> logBegin_us_;
  std::string postedAction_;
  Clock::time_point nextStep_{}, nextMark_{}, nextPost_{}, nextRead_{};
  bool hostBegun_ = false;
  bool isSounding_ = false;
};

DisplayFilm::Display::Display(const film_options_t& options, film_record_t onRecord)
    : onRecord_(std::move(onRecord)),
      screen_(
          ReadModel(options.configFolder), [](const std::string& line) { std::cerr << line + "\n"; },
          Clock::now()) {
  SetWatcher(*this);
  unitState.configFolder = options.configFolder;
  StartUnit();
  Accept(screen_source_t::PROGRAM, unit::WriteProgramState({true, Clock::now()}));
  StartTask([this] { RunScreen(); });
  StartTask([this, generic = options.configFolder + "/generic.xml"] {
    PrepareSignals();
    RunApplication(record_.get(), {"orvik", generic});
  });
  PassUntil(START_US);
  if (!options.page.empty()) BeginOn(options.page);
  begin_us_ = Now_us();
}

// As a screen service that was started again: it shows the page and tells the application so.
void DisplayFilm::Display::BeginOn(const std::string& page) {
  if (!screen_.Model().Design().contains(page)) throw std::runtime_error("the design has no page " + page);
  screen_.Model().ShowPage(page);
  StepBy(Clock::now());
  PassUntil(Now_us() + US_PER_SECOND);
}

std::int64_t DisplayFilm::Display::Place(std::uint64_t logTime_us) {
  if (!logBegin_us_) logBegin_us_ = logTime_us;
  return begin_us_ + static_cast<std::int64_t>(logTime_us - std::min(logTime_us, *logBegin_us_));
}

void DisplayFilm::Display::PassUntil(std::int64_t time_us) {
  if (time_us > Now_us()) Sleep(time_us - Now_us());
}

// Of a message that began before the log the display gets nothing.
void DisplayFilm::Display::TakeFrame(const bus::frame_t& frame) {
  if (frame.extended && frame.identifier == DISPLAY_FRAME_ID) return;
  if (frame.extended && frame.identifier == HOST_FRAME_ID) {
    hostBegun_ = hostBegun_ || frame.data[0] == 0;
    if (frame.length < FRAME_SIZE || !hostBegun_) return;
    if (host_.Accept(frame.Bytes(), Clock::now())) StepBy(Clock::now());
  }
  if (frame.extended) faults_.Accept(frame.identifier, frame.Bytes(), Clock::now());
  ReceiveFrame(frame);
}

void DisplayFilm::Display::HoldKey(int key, bool down) {
  const std::uint32_t bit = 1U << static_cast<unsigned>(key - 1);
  unitState.keysHeld = down ? unitState.keysHeld | bit : unitState.keysHeld & ~bit;
}

// --- What the application does

void DisplayFilm::Display::Accept(screen_source_t source, std::span<const std::uint8_t> payload) {
  StepBy(screen_.Accept(source, payload, Clock::now()));
}

void DisplayFilm::Display::OnMessage(channel_t channel, std::span<const std::uint8_t> payload) {
  if (channel == channel_t::SCREEN) Accept(screen_source_t::APPLICATION, payload);
  if (channel == channel_t::EVENTS) Accept(screen_source_t::EVENTS, payload);
}

void DisplayFilm::Display::OnWrite(unsigned handle, int /*code*/, double /*value*/) {
  const double value = unit::ReadParameterValue(handle).value_or(std::nan(""));
  Accept(screen_source_t::DATABASE, unit::WriteDatabaseChange({handle, value}));
}

void DisplayFilm::Display::OnLayer(std::span<const std::uint8_t> message) {
  static_cast<void>(screen_.AcceptDrawing(message, Clock::now()));
  StepBy(Clock::now() + unit::LiveScreen::PACE);
}

// The only device that is written to is the beeper's output: its last four bytes are 1.0 or 0.0.
void DisplayFilm::Display::OnDevice(const std::string& /*name*/, std::string_view command,
                                    std::span<const std::uint8_t> bytes) {
  if (!command.empty() || bytes.size() < 2 * sizeof(std::uint32_t)) return;
  const bool sounds = platform::LoadLe32(bytes, sizeof(std::uint32_t)) != 0;
  if (std::exchange(isSounding_, sounds) == sounds) return;
  Write(std::move(RecordText(Time_ms()).AddJson("sound", sounds ? "true" : "false")));
}

void DisplayFilm::Display::OnLine(const char* /*stream*/, std::string_view line) {
  Write(std::move(RecordText(Time_ms()).AddText("line", line)));
}

void DisplayFilm::Display::Write(RecordText&& record) {
  if (Now_us() >= begin_us_) onRecord_(std::move(record).Take());
}

// --- The screen

void DisplayFilm::Display::RunScreen() {
  for (;;) {
    Sleep(LOOK_US);
    if (Clock::now() >= nextStep_) Step(Clock::now());
  }
}

void DisplayFilm::Display::Step(Clock::time_point now) {
  nextStep_ = now + unit::LiveScreen::IDLE_PACE;
  if (now >= nextMark_) {
    nextMark_ = now + MARK_PERIOD;
    Accept(screen_source_t::MARKS, unit::LiveScreen::MakeMark(now));
  }
  if (now >= nextRead_) {
    nextRead_ = now + READ_PERIOD;
    if (const unit::DatabaseView database; database.Number() != 0) screen_.ReadVariables(database.Number());
  }
  if (const auto report = host_.TakeIfDue(now)) Accept(screen_source_t::HOST, WriteHostReport(*report));
  if (const auto report = faults_.TakeIfDue(now)) Accept(screen_source_t::FAULTS, WriteFaultReport(*report));
  screen_.Step(now);
  PostActions(now);
  if (Now_us() < begin_us_) return;
  if (const auto record = film_.Write(Time_ms(), screen_.Model())) onRecord_(*record);
}

void DisplayFilm::Display::PostActions(Clock::time_point now) {
  const std::string& action = screen_.Model().Page().action;
  if (action != postedAction_ || now >= nextPost_) {
    postedAction_ = action;
    nextPost_ = now + POST_PERIOD;
    PostAction(action);
  }
  for (const std::string& notice : screen_.Model().DrainNotices()) PostAction(notice);
}

// --- The film

DisplayFilm::DisplayFilm(const film_options_t& options, film_record_t onRecord)
    : display_(std::make_unique<Display>(options, std::move(onRecord))) {}

DisplayFilm::~DisplayFilm() = default;

void DisplayFilm::Take(const bus::frame_t& frame) {
  display_->PassUntil(display_->Place(frame.time_us));
  display_->TakeFrame(frame);
}

void DisplayFilm::Take(const bus::key_change_t& change) {
  display_->PassUntil(display_->Place(change.time_us));
  display_->HoldKey(change.key, change.down);
}

void DisplayFilm::Finish(std::int64_t time_ms) {
  display_->Finish(time_ms);
}

}  // namespace film
