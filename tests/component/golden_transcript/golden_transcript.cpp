// Runs a scenario from standard input, the application in virtual time and what happens to it, and prints the
// events. tests/golden_transcripts/transcript.py makes them readable and compares them; docs/reliability.md has
// the words of a scenario. An action of `hx7 simulate` goes to the load computer.
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <utility>

#include <unistd.h>

#include "film/virtual/virtual_time.h"
#include "film/virtual/virtual_unit.h"
#include "film/virtual/watcher.h"
#include "host/protocol/send_plan.h"
#include "host/simulate/config_files.h"
#include "host/simulate/scenario.h"
#include "src/devio/blinkers.h"
#include "src/devio/digital_io.h"
#include "src/display/dispatcher.h"
#include "src/display/handles.h"
#include "src/display/value_widgets.h"
#include "src/hostlink/can_transport.h"
#include "src/hostlink/decapsulation.h"
#include "src/hostlink/watchdog.h"
#include "src/pages/display_transition.h"
#include "src/pages/key_commands.h"
#include "src/pages/key_dispatch.h"
#include "src/pages/key_report.h"
#include "src/pages/page_tables.h"
#include "src/parse/cmd5.h"
#include "src/services/dbshm.h"
#include "src/startup/application.h"
#include "src/text/expand.h"
#include "src/text/fields.h"
#include "src/text/grid.h"
#include "tests/support/test_folder.h"
#include "unit/database/database_owner.h"
#include "unit/screen/design/design.h"
#include "unit/screen/design/screen_names.h"

namespace golden {
namespace {

using namespace film;

using words_t = std::vector<std::string>;
constexpr std::int64_t US_PER_MS = 1'000;
constexpr std::int64_t STEP_US = 10 * US_PER_MS;
constexpr std::int64_t PRESS_US = 200 * US_PER_MS;

// Prints an event: the time in microseconds, its kind and what happened, with tabs between and a record
// separator (0x1E) at the end.
void Record(const char* kind, std::string_view text) {
  std::printf("%lld\t%s\t%.*s\x1e", static_cast<long long>(film::Now_us()), kind, static_cast<int>(text.size()),
              text.data());
}

std::string HexText(std::span<const std::uint8_t> bytes) {
  constexpr const char* DIGITS = "0123456789ABCDEF";
  std::string text;
  for (const std::uint8_t byte : bytes) {
    text += DIGITS[byte >> 4];
    text += DIGITS[byte & 15];
  }
  return text;
}

class Recorder : public film::Watcher {
 public:
  void OnMessage(film::channel_t channel, std::span<const std::uint8_t> payload) override {
    if (channel == film::channel_t::OTHER) return;
    Record("message", std::to_string(static_cast<int>(channel)) + " " + HexText(payload));
  }
  void OnWrite(unsigned handle, int code, double value) override {
    std::array<char, 64> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(), "%u %d %.15g", handle, code, value));
    Record("write", text.data());
  }
  void OnLayer(std::span<const std::uint8_t> message) override { Record("layer", HexText(message)); }
  void OnDevice(const std::string& name, std::string_view command,
                std::span<const std::uint8_t> bytes) override {
    std::string text = name + " " + std::string(command) + HexText(bytes);
    // The beeper's output is written all the time.
    if (!command.empty() || std::exchange(last_, text) != text) Record("device", text);
  }
  void OnLine(const char* stream, std::string_view line) override { Record(stream, line); }
  void OnCall(const char* kind, const std::string& what) override { Record(kind, what); }

 private:
  std::string last_;
};

// What std::cout and std::cerr are given, line by line.
class RecordedStream : public std::stringbuf {
 public:
  RecordedStream(std::ostream& stream, const char* kind)
      : kind_(kind), stream_(stream), before_(stream.rdbuf(this)) {}
  ~RecordedStream() override { stream_.rdbuf(before_); }
  RecordedStream(const RecordedStream&) = delete;
  RecordedStream& operator=(const RecordedStream&) = delete;

 protected:
  int sync() override {
    std::istringstream lines(str());
    for (std::string line; std::getline(lines, line);) Record(kind_, line);
    str("");
    return 0;
  }

 private:
  const char* kind_;
  std::ostream& stream_;
  std::streambuf* before_;
};

// As much of the screen service as the application needs: follows its page events and says which page is shown.
class PageFollower {
 public:
  void Run() {
    NM::NMClient client;
    client.subscribe(film::EventChannel());
    for (;;) {
      const std::string event = names_.events[platform::LoadLe32(film::WaitForMessage(client), 0)];
      const auto& transitions = design_.at(page_).transitions;
      const auto found = transitions.find(event);
      if (found != transitions.end()) Show(design_.at(found->second).action);
    }
  }
  // The page of this action, or whatever else the screen service tells the application.
  void Show(const std::string& action, int channelsOn = 0) {
    for (const auto& [name, page] : design_) {
      if (page.action == action) page_ = name;
    }
    Record("action", action);
    film::PostAction(action, channelsOn);
  }

 private:
  unit::screen_names_t names_ = unit::ReadScreenNames("config/generic.xml");
  std::vector<std::string> problems_;
  unit::design_t design_ = unit::ReadDesign("config/screen", unit::WidgetNames(names_), problems_);
  std::string page_ = "Splash";
};

PageFollower& Follower() {
  static auto& follower = *new PageFollower;
  return follower;
}

struct scenario_run_t {
  simulate::ConfigFiles files{SOURCE_FOLDER "/config"};
  std::optional<simulate::LoadComputer> computer;
  simulate::ControlUnits controlUnits;
  std::optional<simulate::ScenarioPlayer> player;
  host::Cmd2Values values;
  std::unique_ptr<orvikData_t> record;
};
scenario_run_t& run = *new scenario_run_t;  // never destroyed: tasks that still wait use it

// The application, with its configuration where the line names no arguments.
void Start(words_t arguments) {
  if (arguments.empty()) arguments = {"orvik", "config/generic.xml"};
  StartTask([arguments] {
    run.record = std::make_unique<orvikData_t>();
    PrepareSignals();
    const int status = RunApplication(run.record.get(), arguments);
    run.record.reset();
    Record("exit", std::to_string(status));
  });
}

void StartComputer() {
  run.computer.emplace(run.files.Chart(""), 1);
  unitState.onFrame = [](const bus::frame_t& frame) { run.computer->Accept(frame); };
}

void Play(const std::string& scenario) {
  StartComputer();
  run.player.emplace(run.files.NamedScenario(scenario), true);
}

// Without a load computer these messages are all that comes from the host.
void Send(const words_t& arguments) {
  if (run.computer) return run.computer->Send(arguments);
  for (const host::send_step_t& step : host::PlanSend(arguments, run.values).steps) {
    for (const bus::frame_t& frame : step.frames) ReceiveFrame(frame);
  }
}

void Press(std::uint32_t key) {
  unitState.keysHeld |= 1U << (key - 1);
  StartTask([key] {
    Sleep(PRESS_US);
    unitState.keysHeld &= ~(1U << (key - 1));
  });
}

// What the application keeps and neither shows nor sends.
void RecordSettings(const orvikData_t& r) {
  std::ostringstream text;
  text << "display mode " << r.displayMode << ", type " << r.displayType << "; protocol "
       << int{r.commandProtocolVersion} << ", encryption " << int{r.dynamicEncryptionMethod}
       << "; brightness adjust " << r.brightnessAdjustEnabled << "; select mode " << r.selectMode
       << "; key report " << r.keyReport1 << " " << r.keyReport2 << ", last event " << r.lastPressedEventName
       << "; transducers " << canTransducersSwapped << "; versions " << r.loaderVersion << " " << r.osVersion
       << " " << r.appVersion;
  Record("settings", text.str());
}

// The dumps that a developer calls and no key does. The message names a field of each kind, and one too short.
void Dump(orvikData_t* data) {
  constexpr std::array<std::uint8_t, 14> TEXTS{0, 12, 0, 4, 0, 16, 'A', 0x7F, 0, 2, 0, 17, 'B', 'C'};
  MainCmd_t command{MessageView(TEXTS)};
  const CAN_packet_t2 packet{.canID = 0x18FF00D0, .dlc = 8, .data = {0, 1, 2, 0x10, 0xAB, 0xFF, 9, 10}};
  DumpMainCmd(data, &command);
  DumpCANPacket(&packet);
  DumpHexData(TEXTS.data(), 9);
  DumpHexData(TEXTS.data(), -1);
  DumpHexString("A\x01\xFF");
  DumpAllFields();
  DumpUTF8LineAll(data);
  DumpGaugeHandles(data);
}

// Arguments that no message, key or action brings; the record's words are as before afterwards.
void Misuse(orvikData_t* data) {
  SetBeeper(data, 4, 1);
  SetBeeper(data, -1, 1);
  StartBlinker(data, BLINKER_COUNT, 0, 1, 0, 0);
  StartBlinker(data, -1, 0, 1, 0, 0);
  MatrixDispatch(data, KD620_KEY3, KEY_PRESSED + KEY_RELEASED + 1);
  SetQMT740KeyPressed(data, HOST_KEY_MAN_BASKET + 1);
  SetQMT740KeyPressed(data, -1);
  UpdateLCDUnits(data);
  SetDisplayTransition(data, -1);
  for (PlainWord<std::uint8_t>* word : {&data->language, &data->units}) {
    const std::uint8_t value = *word;
    *word = 6;
    DisplayUnits(data);
    *word = value;
  }
  const Page_t* const page = data->currentPage;
  for (const Page_t& other : {Page_t{ACTION_PAGE_NONE, 0, 0, {}}, {999, 0, 0, {}}}) {
    data->currentPage = &other;
    UpdateLCDDisplay(data);
    MatrixDispatch(data, KD620_KEY3, KEY_PRESSED);
    DispatchPage(data, &other, KD620_KEY3, KEY_PRESSED);
  }
  for (int id = ACTION_PAGE_MAIN; id <= ACTION_PAGE_MVEC; ++id) {
    const Page_t other{id, 0, 0, {}};
    data->currentPage = &other;
    UpdateDisplay(data);
  }
  const Page_t config{ACTION_PAGE_CONFIG, EVENT_CONFIG_TO_MAIN, 0, {}};
  data->currentPage = &config;
  const name_map_t events = std::exchange(data->eventIds, {});  // as if the configuration had none
  data->watchdogSeconds = WATCHDOG_LIMIT_SECONDS;
  WatchdogTick(data);
  data->eventIds = events;
  data->currentPage = nullptr;
  MatrixDispatch(data, KD620_KEY3, KEY_PRESSED);
  data->currentPage = page;
  unsigned codePoint = 0;
  ProcessSingleOctet(data, 0x80, &codePoint);
}

// "-" makes the parameter not valid.
void WriteParameter(unsigned handle, const std::string& value) {
  if (value == "-") return DBSHM::Write(handle, 0.0, 0, false);
  DBSHM::Write(handle, std::stod(value));
}

void WriteUnitFile(const std::string& path, const std::string& hex) {
  const std::filesystem::path file = std::getenv("ORVIK_ROOT") + path;
  std::filesystem::create_directories(file.parent_path());
  std::ofstream out(file);
  for (std::size_t at = 0; at + 1 < hex.size(); at += 2) {
    out.put(static_cast<char>(std::stoi(hex.substr(at, 2), nullptr, 16)));
  }
}

// Carries out the words of a line; `number` is the second one, where it is a number.
void Carry(const words_t& words, std::uint32_t number) {
  const std::string& verb = words[0];
  const words_t arguments(words.begin() + 1, words.end());
  if (verb == "start") return Start(arguments);
  if (verb == "terminate") return RaiseTermination();
  if (verb == "initialise") return run.record->lcdInitRequest.Store(1);
  if (verb == "command") return StartTask([number] { RunKeyCommand(run.record.get(), number); });
  if (verb == "settings") return RecordSettings(*run.record);
  if (verb == "dump") return Dump(run.record.get());
  if (verb == "misuse") return Misuse(run.record.get());
  if (verb == "file") return WriteUnitFile(arguments.at(0), arguments.at(1));
  if (verb == "computer") return StartComputer();
  if (verb == "play") return Play(arguments.at(0));
  if (verb == "send") return Send(arguments);
  if (verb == "press") return Press(number);
  if (verb == "hold") return unitState.keysHeld = number, void();
  if (verb == "action")
    return Follower().Show(arguments.at(0), arguments.size() > 1 ? std::stoi(arguments[1]) : 0);
  if (verb == "variable") return WriteParameter(DBSHM::getHandle(arguments.at(0)), arguments.at(1));
  if (verb == "missing") return unitState.missing.insert(arguments.at(0)), void();
  if (verb == "present") return unitState.missing.erase(arguments.at(0)), void();
  if (verb == "compositor") return unitState.compositorReply = static_cast<std::uint8_t>(number), void();
  if (verb == "quiet" || verb == "record" || verb == "end") return;  // for transcript.py
  simulate::action_target_t target{run.computer.value(), run.controlUnits, {}, {}};
  simulate::ParseAction(words)(target);
}

void Step() {
  if (run.player) {
    simulate::action_target_t target{*run.computer, run.controlUnits, [](int) {},
                                     [](const std::string& t) { Record("say", t); }};
    run.player->Step(run.computer->Now_ms(), target);
  }
  if (run.computer) {
    for (const simulate::message_frames_t& message : run.computer->Step()) {
      for (const bus::frame_t& frame : message) ReceiveFrame(frame);
    }
  }
  Sleep(STEP_US);
}

// Each line has its time in milliseconds and its words.
void RunScenario(std::istream& in) {
  std::int64_t due_ms = 0;
  for (std::string line; in >> due_ms && std::getline(in >> std::ws, line);) {
    while (Now_us() < due_ms * US_PER_MS) Step();
    Record("-----", line);
    const words_t words = simulate::SplitWords(line);
    const std::string number = words.size() > 1 ? words[1] : "";
    Carry(words, static_cast<std::uint32_t>(std::strtoul(number.c_str(), nullptr, 0)));
  }
}

}  // namespace
}  // namespace golden

int main() {
  if (chdir(SOURCE_FOLDER) != 0) return EXIT_FAILURE;
  const RuntimeDirectoryForTest runtime;
  setenv("ORVIK_ROOT", runtime.Path().c_str(), 1);
  static golden::RecordedStream out(std::cout, "out"), err(std::cerr, "err");
  static golden::Recorder recorder;
  film::SetWatcher(recorder);
  film::StartUnit();
  film::StartTask([] { golden::Follower().Run(); });
  golden::RunScenario(std::cin);
  unit::RemoveDatabase();
}
