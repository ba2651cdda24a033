#include "host/load_computer/load_computer.h"

#include <algorithm>
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
constexpr std::int64_t GREETING_MS = 50;   // between the messages of the start-up conversation
constexpr std::int64_t REFRESH_MS = 1000;
constexpr std::int64_t BOOT_MS = 2000;
// A display that has just been started waits to be asked for its page, and may be so busy or so late that it
// misses the first requests.
constexpr std::int64_t PAGE_MS = 1000;
constexpr std::int64_t PAGE_LATER_MS = 10'000;
constexpr std::int64_t DISPLAY_START_MS = 12'000;
// One that has not answered for so long may have been started anew: twenty requests for the key state.
constexpr std::int64_t DISPLAY_AWAY_MS = 1000;
constexpr std::int64_t FULL_VALUES_MS = 20;
constexpr std::int64_t FULL_TEXTS_MS = 50;

// The start-up conversation before the settings follow. A request has no value.
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
  return key == 4;
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
  if (Every(VALUES_MS)) Look();
  if (now_ms_ < silentUntil_ms_) {
    outbox_.Clear();
  } else if (fullTraffic_) {
    SendFullTraffic();
  } else {
    Converse();
  }
  return outbox_.Drain();
}

void LoadComputer::Look() {
  measured_ = sensors_.Read(crane_, chart_);
  limits_.Check(crane::quantity_t::ANGLE, measured_.angle);
  limits_.Check(crane::quantity_t::RADIUS, measured_.radius);
  limits_.Check(crane::quantity_t::EXTENSION, measured_.extension);
  limits_.Check(crane::quantity_t::SWING, measured_.swing);
  bell_.Ring(AlarmOf(measured_, limits_, sensors_.AnyFault()));
}

void LoadComputer::Converse() {
  const std::int64_t since_ms = now_ms_ - begin_ms_;
  if (since_ms < GREETED_MS) return Greet();
  if (Every(VALUES_MS)) SendChanges();
  if (Every(REFRESH_MS)) Refresh();
  AskForPage();
  if (Every(KEY_STATE_MS)) outbox_.Request("key-state");
  if (Every(VALUES_MS)) SendValues();
}

void LoadComputer::Greet() {
  if (!Every(GREETING_MS)) return;
  const auto number = static_cast<std::size_t>((now_ms_ - begin_ms_) / GREETING_MS);
  if (number == 0 || number > std::size(GREETINGS)) return;
  const greeting_t& greeting = GREETINGS[number - 1];
  if (greeting.value == REQUEST) return outbox_.Request(greeting.command);
  outbox_.Send(greeting.command, greeting.value);
}

// What stands as it is until it changes, in the order in which the display needs it: the language before texts.
std::vector<host::MessageBytes> LoadComputer::Settled() const {
  const crane::jib_t jib = crane_.Rigging().jib;
  return {host::MakeMessage("language", settings_.language),
          host::MakeMessage("units", static_cast<double>(settings_.units)),
          ValidKeys(),
          host::MakeMessage(*host::FindCommand("colors"), ColorsOf(crane_)),
          host::MakeMessage("swing-mode", SwingModeOf(cab_, chart_)),
          host::MakeMessage("erected-icon", crane::IsErected(jib) ? 1 : 0),
          host::MakeMessage("stowed-icon", jib == crane::jib_t::STOWED ? 1 : 0),
          host::MakeTextsMessage(MakePageTexts(Page())),
          host::MakeFlashMessage(MakeFlashText(Page())),
          host::MakeMessage("beeper", bell_.Beeper())};
}

void LoadComputer::SendIfNew(const host::MessageBytes& message) {
  host::MessageBytes& last = sent_[KeyOf(message)];
  if (last == message) return;
  last = message;
  outbox_.Send(message);
}

void LoadComputer::SendChanges() {
  for (const host::MessageBytes& message : Settled()) SendIfNew(message);
}

// One setting a second is said again in turn: a display that was started anew knows none. A silent beeper is
// left alone, because that would cut a key's beep short.
void LoadComputer::Refresh() {
  if (sent_.empty()) return;
  refreshed_ = (refreshed_ + 1) % static_cast<unsigned>(sent_.size());
  const auto turn = std::next(sent_.begin(), refreshed_);
  if (!IsBeeper(turn->first) || bell_.Beeper() != 0) turn->second.clear();
}

// The crane's time in which that much of the display's passes.
std::int64_t LoadComputer::OfDisplay(std::int64_t time_ms) const {
  if (speed_ == 0) return std::numeric_limits<std::int64_t>::max();
  return std::llround(static_cast<double>(time_ms) * speed_);
}

void LoadComputer::AskForPage() {
  const std::int64_t asked_ms = now_ms_ - askedFrom_ms_;
  if (asked_ms > OfDisplay(DISPLAY_START_MS)) return;
  if (!Every(asked_ms <= DISPLAY_START_MS ? PAGE_MS : PAGE_LATER_MS)) return;
  dialogue_.LeadFromSlate();
}

void LoadComputer::SendValues() {
  FillValues(cab_, values_);
  outbox_.Send(values_.MakeMessage());
}

void LoadComputer::SendFullTraffic() {
  if (Every(FULL_VALUES_MS)) SendValues();
  if (Every(FULL_TEXTS_MS)) outbox_.Send(FullTexts());
  if (Every(KEY_STATE_MS)) outbox_.Request("key-state");
  if (!Every(VALUES_MS)) return;
  const auto settled = Settled();
  outbox_.Send(settled[static_cast<std::size_t>(now_ms_ / VALUES_MS) % settled.size()]);
}

void LoadComputer::SetFullTraffic(bool full) {
  fullTraffic_ = full;
  sent_.clear();
}

void LoadComputer::FallSilent(double seconds) {
  silentUntil_ms_ = now_ms_ + std::llround(seconds * 1000);
  sent_.clear();  // what changes meanwhile is not heard
}

void LoadComputer::Restart() {
  limits_.ClearAll();
  bell_ = {};
  fullTraffic_ = false;
  dialogue_.Reset();
  sent_.clear();
  // On a whole look, so that the paces stay in step.
  begin_ms_ = (now_ms_ + BOOT_MS) / VALUES_MS * VALUES_MS;
  silentUntil_ms_ = begin_ms_;
  askedFrom_ms_ = begin_ms_;
}

void LoadComputer::Send(std::span<const std::string> arguments) {
  for (host::send_step_t& step : host::PlanSend(arguments, values_).steps) outbox_.Send(std::move(step.frames));
}

// The select keys are good for menus alone.
host::MessageBytes LoadComputer::ValidKeys() const {
  constexpr std::uint8_t SELECT_KEYS[] = {8, 17, 14, 15};
  std::vector<std::uint8_t> masks = host::ParseKeyMasks("all");
  if (!dialogue_.HasMenu()) {
    for (const std::uint8_t key : SELECT_KEYS) masks[key] = 0;
  }
  return host::MakeKeyMasksMessage(masks);
}

// Four bytes for each field: as many as 36 frames carry.
host::MessageBytes LoadComputer::FullTexts() const {
  std::vector<host::field_text_t> texts;
  for (std::uint8_t field = 0; field < host::TextFieldNames().size(); ++field) {
    const auto letter = static_cast<char>('A' + (now_ms_ / FULL_TEXTS_MS + field) % 26);
    texts.push_back({field, std::string(4, letter)});
  }
  return host::MakeTextsMessage(texts);
}

// The answers to the requests have no number of their own. None but a key state's has a host key's number in
// the place of the key, so that no key is lost or invented where an answer was missed.
void LoadComputer::Hear(const bus::frame_t& frame) {
  constexpr std::size_t KEY_AT = 1;
  constexpr std::size_t FILE_ID_FRAMES = 3;
  constexpr std::size_t FILE_ID_SIZE = 16;
  if (!frame.extended || frame.identifier != DISPLAY_FRAME_ID) return;
  if (now_ms_ - heard_ms_ > OfDisplay(DISPLAY_AWAY_MS)) askedFrom_ms_ = now_ms_;
  heard_ms_ = now_ms_;
  host::MessageBytes reply;
  if (!display_.Accept(frame.Bytes(), reply)) return;
  ++replies_;
  if (reply.size() == FIRST_FRAME_ROOM) Press(reply[KEY_AT]);
  if (reply.size() == MessageRoom(FILE_ID_FRAMES)) fileId_.assign(reply.begin(), reply.begin() + FILE_ID_SIZE);
}

simulation_state_t LoadComputer::State() const {
  simulation_state_t state{.time_s = static_cast<double>(now_ms_) / 1000,
                           .scenario = {},
                           .measured = measured_,
                           .length = crane_.Length(),
                           .hookHeight = crane_.HookHeight(),
                           .sheaveHeight = crane_.SheaveHeight(),
                           .netLoad = crane_.NetLoad(),
                           .wind = sensors_.Wind(),
                           .rigging = crane_.Rigging(),
                           .base = crane_.WantedBase(),
                           .baseMoves = crane_.BaseMoves(),
                           .atRest = crane_.AtRest(),
                           .limits = {},
                           .lamps = host::ListLamps(MakeLampWord(cab_)),
                           .faults = {},
                           .settings = settings_,
                           .view = dialogue_.Shown(),
                           .infoPage = dialogue_.InfoPage(),
                           .silent = now_ms_ < silentUntil_ms_,
                           .texts = {},
                           .replies = replies_,
                           .displayFileId = fileId_};
  for (unsigned i = 0; i < state.limits.size(); ++i)
    state.limits[i] = limits_.Get(static_cast<crane::quantity_t>(i));
  for (unsigned i = 0; i < SENSOR_FAULT_NAMES.size(); ++i) {
    if (sensors_.HasFault(static_cast<sensor_fault_t>(i))) state.faults.emplace_back(SENSOR_FAULT_NAMES[i]);
  }
  for (const host::field_text_t& text : MakePageTexts(Page())) {
    state.texts.emplace_back(host::TextFieldNames()[text.field], text.text);
  }
  return state;
}

}  // namespace simulate
