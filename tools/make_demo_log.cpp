// make_demo_log FILE: writes the demonstration log, one lift of a mobile crane as its host load computer sends
// it: start-up, approach, lift, overload, two-block, all languages, both units and a lost link. It ends in the
// state in which it begins, so that it can be played in a loop. Every run writes the same bytes.
#include <array>
#include <cmath>
#include <fstream>
#include <functional>
#include <iostream>
#include <numbers>
#include <string>
#include <vector>

#include "bus/log_lines.h"
#include "host/protocol/cmd2_values.h"
#include "host/protocol/encode.h"
#include "host/protocol/value_text.h"

namespace {

constexpr std::uint64_t EPOCH_US = 1'700'000'000'000'000;
constexpr std::uint64_t FRAME_TIME_US = 560;  // of an extended frame at 250 kbit/s, stuff bits included
constexpr int TICKS_PER_SECOND = 100;
constexpr int VALUES_EVERY = 10;    // ticks: 10 a second
constexpr int KEY_STATE_EVERY = 5;  // ticks: 20 a second
constexpr double END_S = 142;
constexpr double SILENCE_BEGIN_S = 112;
constexpr double SILENCE_END_S = 126;
constexpr double METRIC_BEGIN_S = 104;
constexpr double METRIC_END_S = 109;

class DemoLog {
 public:
  explicit DemoLog(const std::string& path) : file_(path) {}
  void At(double seconds) {
    time_us_ = std::max(time_us_, EPOCH_US + static_cast<std::uint64_t>(std::llround(seconds * 1e6)));
  }
  void Put(const host::MessageBytes& message) {
    for (bus::frame_t frame : host::CutIntoFrames(message)) {
      frame.time_us = time_us_;
      time_us_ += FRAME_TIME_US;
      file_ << bus::FormatLogLine(frame, "can0") << '\n';
    }
  }
  bool Close() {
    file_.close();
    return !file_.fail();
  }

 private:
  std::ofstream file_;
  std::uint64_t time_us_ = EPOCH_US;
};

// A value over the time of the lift, interpolated linearly between the points.
struct curve_point_t {
  double at;
  double value;
};

double Interpolate(std::span<const curve_point_t> points, double at) {
  if (at <= points.front().at) return points.front().value;
  for (std::size_t i = 1; i < points.size(); ++i) {
    const curve_point_t& from = points[i - 1];
    const curve_point_t& to = points[i];
    if (at <= to.at) return from.value + (to.value - from.value) * (at - from.at) / (to.at - from.at);
  }
  return points.back().value;
}

constexpr double BOOM_BASE_FT = 35;    // length of the retracted boom
constexpr double PIVOT_OFFSET_FT = 3;  // from the boom's pivot to the centre of rotation
constexpr double HOOK_BLOCK_LBS = 500;

constexpr curve_point_t ANGLE_DEG[] = {{10, 5},  {22, 62}, {44, 62},  {54, 48},
                                       {56, 48}, {62, 60}, {129, 60}, {139, 5}};
constexpr curve_point_t EXTENSION_FT[] = {{12, 0}, {25, 45}, {129, 45}, {138, 0}};
constexpr curve_point_t SWING_DEG[] = {{26, 0}, {33, -75}, {96, -75}, {101, -40}, {129, -40}, {136, 0}};
constexpr curve_point_t LOAD_LBS[] = {{36, HOOK_BLOCK_LBS}, {42, 14000}, {126.5, 14000}, {129, HOOK_BLOCK_LBS}};
// Rated capacity over the radius, boom fully rigged.
constexpr curve_point_t CAPACITY_LBS[] = {{10, 80000}, {15, 61000}, {20, 46500}, {25, 36400},
                                          {30, 29000}, {35, 23400}, {40, 19100}, {50, 13200},
                                          {60, 9200},  {70, 6300},  {80, 4000},  {100, 1500}};

constexpr double TWO_BLOCK_BEGIN_S = 64;
constexpr double TWO_BLOCK_END_S = 69;
constexpr double PRE_ALARM_PERCENT = 90;  // of the rated capacity
constexpr double OVERLOAD_PERCENT = 100;

double RoundTo(double value, double step) {
  return std::round(value / step) * step;
}

double Lamps(const std::string& names) {
  return host::ParseValue(*host::FindField(host::OperatingValuesCommand(), "led"), names);
}

enum class demo_alarm_t { NONE, PRE_ALARM, OVERLOAD, TWO_BLOCK };

struct demo_crane_t {
  double angle, extension, radius, swing, load, capacity;
  double Percent() const { return 100 * load / capacity; }
};

demo_crane_t CraneAt(double at) {
  demo_crane_t crane{};
  crane.angle = RoundTo(Interpolate(ANGLE_DEG, at), 0.1);
  crane.extension = RoundTo(Interpolate(EXTENSION_FT, at), 0.1);
  crane.swing = RoundTo(Interpolate(SWING_DEG, at), 1);
  crane.load = RoundTo(Interpolate(LOAD_LBS, at), 50);
  const double radians = crane.angle * std::numbers::pi / 180;
  crane.radius = RoundTo((BOOM_BASE_FT + crane.extension) * std::cos(radians) - PIVOT_OFFSET_FT, 0.1);
  crane.capacity = RoundTo(Interpolate(CAPACITY_LBS, crane.radius), 100);
  return crane;
}

demo_alarm_t FindDemoAlarm(const demo_crane_t& crane, double at) {
  if (at >= TWO_BLOCK_BEGIN_S && at < TWO_BLOCK_END_S) return demo_alarm_t::TWO_BLOCK;
  if (crane.Percent() >= OVERLOAD_PERCENT) return demo_alarm_t::OVERLOAD;
  return crane.Percent() >= PRE_ALARM_PERCENT ? demo_alarm_t::PRE_ALARM : demo_alarm_t::NONE;
}

struct demo_alarm_signals_t {
  const char* lamps;
  double beeper;
  const char* text;  // on the display and as its flash message
};

const demo_alarm_signals_t& DemoSignalsOf(demo_alarm_t alarm) {
  static constexpr demo_alarm_signals_t SIGNS[] = {{"none", 0, nullptr},
                                                   {"prealarm", 20, "NEAR LIMIT"},
                                                   {"prealarm,overload,alarm", 255, "OVERLOAD"},
                                                   {"a2b,alarm", 255, "TWO-BLOCK"}};
  return SIGNS[static_cast<std::size_t>(alarm)];
}

constexpr std::array<const char*, 10> TEXT_FIELDS = {"outriggers", "swing-text", "jib",        "aux",
                                                     "pickpoint",  "winch",      "line4-left", "counterweight",
                                                     "erected",    "stowed"};
// By language number, in the order of the fields above. Chinese lines fit 24 columns of full width, the
// others 40.
constexpr std::array<std::array<const char*, TEXT_FIELDS.size()>, 6> TEXTS = {{
    {"OUTRIGGERS EXTENDED", "360°", "NO JIB", "AUX HEAD OFF", "MAIN BOOM", "FRONT WINCH", "4 PARTS OF LINE",
     "CWT 12,000", "ERECTED", "STOWED"},
    {"ESTABILIZADORES FUERA", "360°", "SIN PLUMÍN", "CABEZAL AUX. NO", "PLUMA PRINCIPAL", "CABRESTANTE DEL.",
     "4 RAMALES", "CONTRAPESO 12.000", "MONTADO", "PLEGADO"},
    {"ESTABILIZADORES FORA", "360°", "SEM JIB", "CABEÇA AUX. NÃO", "LANÇA PRINCIPAL", "GUINCHO DIANTEIRO",
     "4 PERNAS DE CABO", "CONTRAPESO 12.000", "MONTADO", "RECOLHIDO"},
    {"支腿全伸", "360°", "无副臂", "无辅助头", "主臂", "前卷扬", "倍率4", "配重12000", "已安装", "已收存"},
    {"ОПОРЫ ВЫДВИНУТЫ", "360°", "БЕЗ ГУСЬКА", "ВСПОМ. НЕТ", "СТРЕЛА", "ПЕРЕДНЯЯ ЛЕБЁДКА", "КРАТНОСТЬ 4",
     "ПРОТИВОВЕС 12000", "УСТАНОВЛЕН", "УЛОЖЕН"},
    {"STABILISATEURS SORTIS", "360°", "SANS FLÉCHETTE", "TÊTE AUX. NON", "FLÈCHE PRINCIPALE", "TREUIL AVANT",
     "4 BRINS", "CONTREPOIDS 12000", "MONTÉE", "REPLIÉE"},
}};

host::MessageBytes MakeTexts(std::size_t language, const char* alarm) {
  std::vector<host::field_text_t> texts;
  for (std::size_t i = 0; i < TEXT_FIELDS.size(); ++i) {
    texts.push_back({*host::FindTextField(TEXT_FIELDS[i]), TEXTS[language][i]});
  }
  if (alarm != nullptr) {
    texts.push_back({*host::FindTextField("line4-center"), alarm});
    texts.push_back({*host::FindTextField("flash-msg"), alarm});
  }
  return host::MakeTextsMessage(texts);
}

// An action that happens once, at its time.
struct demo_action_t {
  double at;
  std::function<void(DemoLog&)> act;
};

demo_action_t MakeCommandAction(double at, const char* name, double value) {
  return {at, [=](DemoLog& log) { log.Put(host::MakeMessage(name, value)); }};
}

demo_action_t MakeRequestAction(double at, const char* name) {
  return {at, [=](DemoLog& log) { log.Put(host::MakeMessage(name)); }};
}

demo_action_t ValidKeys(double at, const char* keys) {
  return {at, [=](DemoLog& log) { log.Put(host::MakeKeyMasksMessage(host::ParseKeyMasks(keys))); }};
}

// Tires, retracted, half, extended: 0 dark, 1 green, 2 yellow, 3 red.
demo_action_t Colors(double at, std::array<double, 4> colors) {
  return {at, [=](DemoLog& log) { log.Put(host::MakeMessage(*host::FindCommand("colors"), colors)); }};
}

demo_action_t Texts(double at, std::size_t language) {
  return {at, [=](DemoLog& log) { log.Put(MakeTexts(language, nullptr)); }};
}

void AddStartUp(std::vector<demo_action_t>& actions) {
  double at = 0.2;
  for (const char* name : {"program-name", "program-date", "file-id", "lcd-status", "led-brightness"}) {
    actions.push_back(MakeRequestAction(at, name));
    at += 0.1;
  }
  actions.insert(actions.end(),
                 {MakeCommandAction(0.80, "protocol-version", 1), MakeCommandAction(0.85, "encryption", 1),
                  MakeCommandAction(0.90, "language", 0), MakeCommandAction(0.95, "units", 0),
                  MakeCommandAction(1.00, "display-mode", 1), MakeCommandAction(1.05, "beeper", 0),
                  MakeCommandAction(1.10, "swing-mode", 0), MakeCommandAction(1.15, "erected-icon", 0),
                  MakeCommandAction(1.20, "stowed-icon", 1), Colors(1.25, {1, 0, 0, 1}), ValidKeys(1.30, "all"),
                  Texts(1.40, 0)});
  // The display shows its first pages for a few seconds and ignores the request until it shows Slate.
  constexpr double SLATE_TO_MAIN = 3;
  for (int again = 1; again < 12; ++again)
    actions.push_back(MakeCommandAction(again + 0.5, "transition", SLATE_TO_MAIN));
}

void AddLift(std::vector<demo_action_t>& actions) {
  actions.insert(
      actions.end(),
      {MakeCommandAction(26.0, "swing-mode", 1),  // front, front arc, side, all round; then the number again
       MakeCommandAction(28.5, "swing-mode", 6), MakeCommandAction(30.5, "swing-mode", 3),
       MakeCommandAction(32.5, "swing-mode", 4), MakeCommandAction(34.0, "swing-mode", 0),
       Colors(70.0, {3, 1, 0, 0}),  // back to the tires and onto the outriggers again
       Colors(71.5, {2, 0, 2, 0}), Colors(73.0, {1, 0, 0, 1}), MakeCommandAction(73.5, "erected-icon", 1),
       MakeCommandAction(74.5, "erected-icon", 0)});
}

void AddLanguages(std::vector<demo_action_t>& actions) {
  constexpr double BEGIN = 76;
  constexpr double EACH = 4;
  for (std::size_t i = 1; i <= TEXTS.size(); ++i) {
    const std::size_t language = i % TEXTS.size();  // Spanish to French, then English again
    const double at = BEGIN + EACH * static_cast<double>(i - 1);
    actions.push_back(MakeCommandAction(at, "language", static_cast<double>(language)));
    actions.push_back(Texts(at + 0.05, language));
  }
}

std::vector<demo_action_t> Actions() {
  std::vector<demo_action_t> actions;
  AddStartUp(actions);
  AddLift(actions);
  AddLanguages(actions);
  actions.insert(actions.end(),
                 {MakeCommandAction(METRIC_BEGIN_S, "units", 1), MakeCommandAction(METRIC_END_S, "units", 0),
                  MakeCommandAction(SILENCE_END_S, "language", 0), MakeCommandAction(SILENCE_END_S, "units", 0),
                  Texts(SILENCE_END_S, 0)});
  return actions;
}

double LampsAt(double at, demo_alarm_t alarm) {
  const bool rigging = at >= 70 && at < 73;
  return Lamps(DemoSignalsOf(alarm).lamps) + Lamps("boom-mode,pick-main-boom,front-winch,counterweight") +
         Lamps(rigging ? "tires,outrigger-retracted,outrigger-half" : "outrigger-extended");
}

host::MessageBytes ValuesOf(const demo_crane_t& crane, double at, demo_alarm_t alarm) {
  const bool metric = at >= METRIC_BEGIN_S && at < METRIC_END_S;
  const double weight = metric ? 0.45359237 : 1;
  const double length = metric ? 0.3048 : 1;
  host::Cmd2Values values;
  values.Set("capacity", RoundTo(crane.capacity * weight, 1));
  values.Set("load", RoundTo(crane.load * weight, 1));
  values.Set("radius", RoundTo(crane.radius * length, 0.1));
  values.Set("angle", crane.angle);
  values.Set("extension", RoundTo(crane.extension * length, 0.1));
  values.Set("percent", RoundTo(crane.Percent(), 0.1));
  values.Set("parts-of-line", at < 34 || at >= 131 ? 2 : 4);
  values.Set("swing", crane.swing);
  values.Set("piston-pressure", RoundTo(400 + crane.load * 0.09, 1));
  values.Set("rod-pressure", RoundTo(120 + crane.load * 0.01, 1));
  values.Set("led", LampsAt(at, alarm));
  return values.MakeMessage();
}

// The messages of one tick; `shown` is the alarm that was sent last.
void WriteTick(int tick, const std::vector<demo_action_t>& actions, demo_alarm_t& shown, DemoLog& log) {
  const double at = static_cast<double>(tick) / TICKS_PER_SECOND;
  log.At(at);
  for (const demo_action_t& action : actions) {
    if (std::lround(action.at * TICKS_PER_SECOND) == tick) action.act(log);
  }
  const demo_crane_t crane = CraneAt(at);
  const demo_alarm_t alarm = FindDemoAlarm(crane, at);
  if (alarm != shown) {
    log.Put(host::MakeMessage("beeper", DemoSignalsOf(alarm).beeper));
    log.Put(MakeTexts(0, DemoSignalsOf(alarm).text));
    shown = alarm;
  }
  if (tick % KEY_STATE_EVERY == 0) log.Put(host::MakeMessage("key-state"));
  if (tick % VALUES_EVERY == 0) log.Put(ValuesOf(crane, at, alarm));
}

void WriteLift(DemoLog& log) {
  const std::vector<demo_action_t> actions = Actions();
  demo_alarm_t shown = demo_alarm_t::NONE;
  for (int tick = 0; tick < static_cast<int>(END_S * TICKS_PER_SECOND); ++tick) {
    const double at = static_cast<double>(tick) / TICKS_PER_SECOND;
    if (at < SILENCE_BEGIN_S || at >= SILENCE_END_S) WriteTick(tick, actions, shown, log);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "Usage: make_demo_log FILE\n";
    return 2;
  }
  DemoLog log(argv[1]);
  WriteLift(log);
  if (log.Close()) return 0;
  std::cerr << "make_demo_log: cannot write " << argv[1] << "; is the folder there, and writable?\n";
  return 1;
}
