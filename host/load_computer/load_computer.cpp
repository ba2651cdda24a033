#include "host/load_computer/load_computer.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

#include "host/load_computer/signals.h"
#include "host/protocol/send_plan.h"
#include "host/protocol/value_text.h"
#include "src/core/frame_layout.h"

namespace simulate {
namespace {

constexpr std::int64_t VALUES_MS = 100;    // 10 a second
constexpr std::int64_t KEY_STATE_MS = 50;  // 20 a second
constexpr std::int64_t GREETING_MS = 50;   // between the start-up messages
constexpr std::int64_t REFRESH_MS = 1000;
constexpr std::int64_t BOOT_MS = 2000;
// A display that has just been started waits for a page request. It may start later than the host or be too
// busy for the first requests, so they are repeated. None of its replies tells its page, and it prints a line
// for each request that comes too late: the pauses double.
constexpr std::int64_t PAGE_MS = 1000;
constexpr std::int64_t DISPLAY_START_MS = 12'000;
// A display that has been silent for so long, twenty key-state requests, may have been restarted.
constexpr std::int64_t DISPLAY_AWAY_MS = 1000;
constexpr std::int64_t FULL_VALUES_MS = 20;
constexpr std::int64_t FULL_TEXTS_MS = 50;

// The start-up messages; the settings follow them. A request has no value.
struct greeting_t {
  std::string_view command;
  int value;
};
constexpr int REQUEST = -1;
constexpr greeting_t GREETINGS[] = {{"protocol-version", 1},     {"encryption", 1},
                                    {"program-name", REQUEST},   {"program-date", REQUEST},
                                    {"file-id", REQUEST},        {"lcd-status", REQUEST},
                                    {"led-brightness", REQUEST}, {"display-type", 0},
                                    {"display-mode", 1},         {"beeper", 0}};
constexpr std::int64_t GREETED_MS = GREETING_MS * static_cast<std::int64_t>(std::size(GREETINGS) + 1);

unsigned KeyOf(const host::MessageBytes& message) {
  return message[0] == host::EXTENDED_COMMAND ? 0x700U | message[1] : message[0];
}

bool IsBeeper(unsigned key) {
  return key == host::FindCommand("beeper")->number;
}

void AddCraneState(const crane::Crane& crane, simulation_state_t& state) {
  state.length = crane.Length();
  state.hookHeight = crane.HookHeight();
  state.sheaveHeight = crane.SheaveHeight();
  state.netLoad = crane.NetLoad();
  state.rigging = crane.Rigging();
  state.base = crane.WantedBase();
  state.baseMoves = crane.BaseMoves();
  state.atRest = crane.AtRest();
}

void AddLimitsAndFaults(const crane::Limits& limits, const Sensors& sensors, simulation_state_t& state) {
  for (unsigned i = 0; i < state.limits.size(); ++i) {
    state.limits[i] = limits.Get(static_cast<crane::quantity_t>(i));
  }
  for (unsigned i = 0; i < SENSOR_FAULT_NAMES.size(); ++i) {
    if (sensors.HasFault(static_cast<sensor_fault_t>(i))) state.faults.emplace_back(SENSOR_FAULT_NAMES[i]);
  }
}

}  // namespace

LoadComputer::LoadComputer(crane::LoadChart chart, std::uint32_t seed, double speed)
    : chart_(std::move(chart)),
      speed_(speed),
      sensors_(seed),
      cab_{crane_, limits_, bell_, settings_, measured_},
      dialogue_(cab_, outbox_) {}

std::vector<message_frames_t> LoadComputer::Step() {
  now_ms_ += TICK_MS;
  crane_.Step(static_cast<double>(TICK_MS) / 1000);
  dialogue_.Step(now_ms_);
  if (Every(VALUES_MS)) Measure();
  if (now_ms_ < silentUntil_ms_) {
    outbox_.Clear();
  } else if (fullTraffic_) {
    SendFullTraffic();
  } else {
    SendUsual();
  }
  return outbox_.Drain();
}

void LoadComputer::Measure() {
  measured_ = sensors_.Measure(crane_, chart_);
  limits_.Check(crane::quantity_t::ANGLE, measured_.angle);
  limits_.Check(crane::quantity_t::RADIUS, measured_.radius);
  limits_.Check(crane::quantity_t::EXTENSION, measured_.extension);
  limits_.Check(crane::quantity_t::SWING, measured_.swing);
  bell_.Ring(FindAlarm(measured_, limits_, sensors_.AnyFault()));
}

void LoadComputer::SendUsual() {
  const std::int64_t since_ms = now_ms_ - begin_ms_;
  if (since_ms < GREETED_MS) return SendGreeting();
  if (Every(VALUES_MS)) SendChanges();
  if (Every(REFRESH_MS)) Refresh();
  RequestPage();
  if (Every(KEY_STATE_MS)) outbox_.Request("key-state");
  if (Every(VALUES_MS)) SendValues();
}

void LoadComputer::SendGreeting() {
  if (!Every(GREETING_MS)) return;
  const auto number = static_cast<std::size_t>((now_ms_ - begin_ms_) / GREETING_MS);
  if (number == 0 || number > std::size(GREETINGS)) return;
  const greeting_t& greeting = GREETINGS[number - 1];
  if (greeting.value == REQUEST) return outbox_.Request(greeting.command);
  outbox_.Send(greeting.command, greeting.value);
}

// The settings that are sent on change, in the order in which the display needs them: the language before
// texts.
std::vector<host::MessageBytes> LoadComputer::MakeSettings() const {
  const crane::jib_t jib = crane_.Rigging().jib;
  return {host::MakeMessage("language", settings_.language),
          host::MakeMessage("units", static_cast<double>(settings_.units)),
          MakeValidKeys(),
          host::MakeMessage(*host::FindCommand("colors"), BaseColors(crane_)),
          host::MakeMessage("swing-mode", FindSwingMode(cab_, chart_)),
          host::MakeMessage("erected-icon", crane::IsErected(jib) ? 1 : 0),
          host::MakeMessage("stowed-icon", jib == crane::jib_t::STOWED ? 1 : 0),
          host::MakeTextsMessage(MakePageTexts(PageInputs())),
          host::MakeFlashMessage(MakeFlashText(PageInputs())),
          host::MakeMessage("beeper", bell_.Beeper())};
}

void LoadComputer::SendIfNew(const host::MessageBytes& message) {
  host::MessageBytes& last = sent_[KeyOf(message)];
  if (last == message) return;
  last = message;
  outbox_.Send(message);
}

void LoadComputer::SendChanges() {
  for (const host::MessageBytes& message : MakeSettings()) SendIfNew(message);
}

// Makes one setting a second due again, in turn, for a display that was restarted and knows none. A silent
// beeper is not sent again, because that would cut a key's beep short.
void LoadComputer::Refresh() {
  if (sent_.empty()) return;
  refreshed_ = (refreshed_ + 1) % static_cast<unsigned>(sent_.size());
  const auto turn = std::next(sent_.begin(), refreshed_);
  if (!IsBeeper(turn->first) || bell_.Beeper() != 0) turn->second.clear();
}

// The crane's time that passes in so much of the display's, which is real time.
std::int64_t LoadComputer::ToCraneTime_ms(std::int64_t time_ms) const {
  if (speed_ == 0) return std::numeric_limits<std::int64_t>::max();
  return std::llround(static_cast<double>(time_ms) * speed_);
}

void LoadComputer::RequestPage() {
  const std::int64_t asked_ms = now_ms_ - askedFrom_ms_;
  if (asked_ms > ToCraneTime_ms(DISPLAY_START_MS)) return;
  if (asked_ms % PAGE_MS != 0 || !std::has_single_bit(static_cast<std::uint64_t>(asked_ms / PAGE_MS))) return;
  dialogue_.LeadFromSlate();
}

void LoadComputer::SendValues() {
  FillValues(cab_, values_);
  for (const auto& [name, value] : held_) values_.Set(name, value);
  outbox_.Send(values_.MakeMessage());
}

void LoadComputer::SendFullTraffic() {
  if (Every(FULL_VALUES_MS)) SendValues();
  if (Every(FULL_TEXTS_MS)) outbox_.Send(MakeFullTexts());
  if (Every(KEY_STATE_MS)) outbox_.Request("key-state");
  if (!Every(VALUES_MS)) return;
  const auto settings = MakeSettings();
  outbox_.Send(settings[static_cast<std::size_t>(now_ms_ / VALUES_MS) % settings.size()]);
}

void LoadComputer::SetFullTraffic(bool full) {
  fullTraffic_ = full;
  sent_.clear();
}

void LoadComputer::FallSilent(double seconds) {
  silentUntil_ms_ = now_ms_ + std::llround(seconds * 1000);
  sent_.clear();  // the display misses changes meanwhile, so send everything again
}

void LoadComputer::Restart() {
  limits_.ClearAll();
  bell_ = {};
  fullTraffic_ = false;
  dialogue_.Reset();
  sent_.clear();
  // A multiple of the measuring period, so that the periods stay in step.
  begin_ms_ = (now_ms_ + BOOT_MS) / VALUES_MS * VALUES_MS;
  silentUntil_ms_ = begin_ms_;
  askedFrom_ms_ = begin_ms_;
}

void LoadComputer::Send(std::span<const std::string> arguments) {
  for (host::send_step_t& step : host::PlanSend(arguments, values_).steps) outbox_.Send(std::move(step.frames));
}

// The select keys are valid only in menus.
host::MessageBytes LoadComputer::MakeValidKeys() const {
  constexpr std::uint8_t SELECT_KEYS[] = {8, 17, 14, 15};
  std::vector<std::uint8_t> masks = host::ParseKeyMasks("all");
  if (!dialogue_.HasMenu()) {
    for (const std::uint8_t key : SELECT_KEYS) masks[key] = 0;
  }
  return host::MakeKeyMasksMessage(masks);
}

// Four bytes for each field: as much as 36 frames carry.
host::MessageBytes LoadComputer::MakeFullTexts() const {
  std::vector<host::field_text_t> texts;
  for (std::uint8_t field = 0; field < host::TextFieldNames().size(); ++field) {
    const auto letter = static_cast<char>('A' + (now_ms_ / FULL_TEXTS_MS + field) % 26);
    texts.push_back({field, std::string(4, letter)});
  }
  return host::MakeTextsMessage(texts);
}

// Replies carry no number of their request, but only a key-state reply can have a host key's number in the
// place of the key. So no key is lost or invented when a reply was missed.
void LoadComputer::Accept(const bus::frame_t& frame) {
  constexpr std::size_t KEY_AT = 1;
  constexpr std::size_t FILE_ID_FRAMES = 3;
  constexpr std::size_t FILE_ID_SIZE = 16;
  if (!frame.extended || frame.identifier != DISPLAY_FRAME_ID) return;
  if (now_ms_ - heard_ms_ > ToCraneTime_ms(DISPLAY_AWAY_MS)) askedFrom_ms_ = now_ms_;
  heard_ms_ = now_ms_;
  host::MessageBytes reply;
  if (!display_.Accept(frame.Bytes(), reply)) return;
  ++replies_;
  if (reply.size() == FIRST_FRAME_ROOM) Press(reply[KEY_AT]);
  if (reply.size() == MessageRoom(FILE_ID_FRAMES)) fileId_.assign(reply.begin(), reply.begin() + FILE_ID_SIZE);
}

simulation_state_t LoadComputer::State() const {
  simulation_state_t state;
  state.time_s = static_cast<double>(now_ms_) / 1000;
  state.measured = measured_;
  state.wind = sensors_.Wind();
  state.lamps = host::ListLamps(MakeLampWord(cab_));
  state.settings = settings_;
  state.view = dialogue_.Shown();
  state.infoPage = dialogue_.InfoPage();
  state.silent = now_ms_ < silentUntil_ms_;
  state.replies = replies_;
  state.displayFileId = fileId_;
  AddCraneState(crane_, state);
  state.curve = crane::RatedCurve(chart_, crane_);
  AddLimitsAndFaults(limits_, sensors_, state);
  for (const host::field_text_t& text : MakePageTexts(PageInputs())) {
    state.texts.emplace_back(host::TextFieldNames()[text.field], text.text);
  }
  return state;
}

}  // namespace simulate
