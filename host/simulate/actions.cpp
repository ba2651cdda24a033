#include "host/simulate/actions.h"

#include <algorithm>
#include <map>

#include "host/protocol/errors.h"
#include "host/protocol/send_plan.h"
#include "host/protocol/value_text.h"
#include "host/simulate/action_arguments.h"

namespace simulate {
namespace {

using host::UsageError;
using arguments_t = std::span<const std::string>;

struct action_row_t {
  std::string_view word;
  std::string_view arguments;
  std::string_view about;
  std::size_t least;  // arguments
  std::size_t most;
  crane_action_t (*parse)(arguments_t);
};
constexpr std::size_t ANY_NUMBER = 1000;

constexpr double MOST_HEIGHT = 60;
constexpr double MOST_RADIUS = 60;

double ParseAngle(const std::string& word) {
  return ParseQuantity(word, crane::MEASURES.leastAngle, crane::MEASURES.mostAngle, DEGREES);
}
double ParseBoomLength(const std::string& word) {
  return ParseQuantity(word, crane::MEASURES.shortest, crane::MEASURES.longest, LENGTH_UNITS);
}
double ParseSwing(const std::string& word) {
  return ParseQuantity(word, -360, 360, DEGREES);
}

// An action that changes one member of the rigging.
template <typename T>
crane_action_t Rigging(T crane::rigging_t::*member, T value) {
  return [=](action_target_t& target) {
    crane::rigging_t rigging = target.computer.Crane().Rigging();
    rigging.*member = value;
    target.computer.Crane().Rig(rigging);
  };
}

crane_action_t ParseBase(arguments_t words) {
  return [base = ParseEnum<crane::base_t>(crane::BASE_NAMES, words[0])](action_target_t& target) {
    target.computer.Crane().MoveBase(base);
  };
}

crane_action_t ParseBoom(arguments_t words) {
  static constexpr std::array<std::string_view, 2> NAMES = {"angle", "length"};
  if (ParseName(NAMES, words[0]) == 0) {
    return
        [angle = ParseAngle(words[1])](action_target_t& target) { target.computer.Crane().MoveAngle(angle); };
  }
  return [length = ParseBoomLength(words[1])](action_target_t& target) {
    target.computer.Crane().MoveLength(length);
  };
}

crane_action_t ParseSwingAction(arguments_t words) {
  return [swing = ParseSwing(words[0])](action_target_t& target) { target.computer.Crane().MoveSwing(swing); };
}

crane_action_t ParseHoist(arguments_t words) {
  if (words[0] == "stop") return [](action_target_t& target) { target.computer.Crane().StopHoist(); };
  const bool hold = words[0] == "hold";
  if (hold && words.size() < 2) throw UsageError("hoist hold needs a height");
  const double height = ParseQuantity(words[hold ? 1 : 0], 0, MOST_HEIGHT, LENGTH_UNITS);
  if (hold) return [height](action_target_t& target) { target.computer.Crane().HoldHook(height); };
  return [height](action_target_t& target) { target.computer.Crane().HoistTo(height); };
}

crane_action_t ParseLoad(arguments_t words) {
  constexpr double MOST = 100'000;
  return [load = ParseQuantity(words[0], 0, MOST, WEIGHT_UNITS)](action_target_t& target) {
    target.computer.Crane().SetLoad(load);
  };
}

crane_action_t ParseStop(arguments_t) {
  return [](action_target_t& target) { target.computer.Crane().StopAll(); };
}

crane_action_t ParseWind(arguments_t words) {
  constexpr double MOST = 40;
  return [wind = ParseQuantity(words[0], 0, MOST, SPEED)](action_target_t& target) {
    target.computer.TheSensors().SetWind(wind);
  };
}

crane_action_t ParseCounterweight(arguments_t words) {
  return Rigging(&crane::rigging_t::counterweight, ParseSwitch(words[0]));
}
crane_action_t ParseJib(arguments_t words) {
  return Rigging(&crane::rigging_t::jib, ParseEnum<crane::jib_t>(crane::JIB_NAMES, words[0]));
}
crane_action_t ParsePick(arguments_t words) {
  return Rigging(&crane::rigging_t::pick, ParseEnum<crane::pick_t>(crane::PICK_NAMES, words[0]));
}
crane_action_t ParseWinch(arguments_t words) {
  return Rigging(&crane::rigging_t::winch, ParseEnum<crane::winch_t>(crane::WINCH_NAMES, words[0]));
}
crane_action_t ParseAuxHead(arguments_t words) {
  return Rigging(&crane::rigging_t::auxHead, ParseSwitch(words[0]));
}
crane_action_t ParseManBasket(arguments_t words) {
  return Rigging(&crane::rigging_t::manBasket, ParseSwitch(words[0]));
}
crane_action_t ParseBoomMode(arguments_t words) {
  static constexpr std::array<std::string_view, 2> NAMES = {"together", "manual"};
  return Rigging(&crane::rigging_t::manualBoom, ParseName(NAMES, words[0]) == 1);
}
crane_action_t ParseParts(arguments_t words) {
  return Rigging(&crane::rigging_t::parts, ParseWhole(words[0], 1, crane::MOST_PARTS));
}

std::optional<double> ParseSide(const std::string& word, crane::quantity_t quantity) {
  if (word == "none") return std::nullopt;
  if (quantity == crane::quantity_t::ANGLE) return ParseAngle(word);
  if (quantity == crane::quantity_t::SWING) return ParseSwing(word);
  return ParseQuantity(word, 0, MOST_RADIUS, LENGTH_UNITS);
}

crane_action_t ParseLimit(arguments_t words) {
  const auto quantity = ParseEnum<crane::quantity_t>(crane::QUANTITY_NAMES, words[0]);
  if (words[1] == "off")
    return [quantity](action_target_t& target) { target.computer.Limits().Clear(quantity); };
  crane::limit_t limit;
  if (words.size() > 2) {
    limit = {ParseSide(words[1], quantity), ParseSide(words[2], quantity)};
  } else {
    limit = {std::nullopt, ParseSide(words[1], quantity)};
  }
  return [quantity, limit](action_target_t& target) { target.computer.Limits().Set(quantity, limit); };
}

crane_action_t ParseFault(arguments_t words) {
  const auto fault = ParseEnum<sensor_fault_t>(SENSOR_FAULT_NAMES, words[0]);
  const bool on = words.size() < 2 || ParseSwitch(words[1]);
  return [fault, on](action_target_t& target) { target.computer.TheSensors().SetFault(fault, on); };
}

constexpr auto CONTROL_UNITS = std::to_array<host::number_name_t>(
    {{0, "engine"}, {3, "transmission"}, {11, "brakes"}, {19, "steering"}, {33, "body"}, {61, "exhaust"}});

// A name, or the address as a number.
std::uint8_t ParseControlUnit(const std::string& word) {
  const bool isNumber = !word.empty() && word[0] >= '0' && word[0] <= '9';
  if (!isNumber) return ParseProtocolName(CONTROL_UNITS, word);
  return static_cast<std::uint8_t>(ParseWhole(word, 0, ControlUnits::MOST_SOURCE));
}

crane_action_t ParseControlUnitSwitch(arguments_t words) {
  const std::uint8_t source = ParseControlUnit(words[0]);
  if (ParseSwitch(words[1])) return [=](action_target_t& target) { target.controlUnits.SwitchOn(source); };
  return [=](action_target_t& target) { target.controlUnits.SwitchOff(source); };
}

crane_action_t ParseTroubleCode(arguments_t words) {
  const std::uint8_t source = ParseControlUnit(words[0]);
  active_code_t code;
  code.spn = static_cast<std::uint32_t>(ParseWhole(words[1], 1, ControlUnits::MOST_SPN));
  code.fmi = static_cast<std::uint8_t>(ParseWhole(words[2], 0, ControlUnits::MOST_FMI));
  if (words.size() == 4 && words[3] == "off") {
    return [=](action_target_t& target) { target.controlUnits.ClearCode(source, code.spn, code.fmi); };
  }
  if (words.size() > 3) code.lamp = ParseEnum<code_lamp_t>(CODE_LAMP_NAMES, words[3]);
  if (words.size() > 4)
    code.count = static_cast<std::uint8_t>(ParseWhole(words[4], 0, ControlUnits::MOST_COUNT));
  return [=](action_target_t& target) { target.controlUnits.SetCode(source, code); };
}

crane_action_t ParseKey(arguments_t words) {
  const std::uint8_t key = ParseProtocolName(host::HostKeyNames().subspan(1), words[0]);
  return [key](action_target_t& target) { target.computer.Press(key); };
}

crane_action_t ParsePress(arguments_t words) {
  constexpr int FRONT_KEYS = 8;
  return [key = ParseWhole(words[0], 1, FRONT_KEYS)](action_target_t& target) { target.pressFrontKey(key); };
}

crane_action_t ParseLanguage(arguments_t words) {
  const auto table = host::FindCommand("language")->fields[0].names;
  return [language = ParseProtocolName(table, words[0])](action_target_t& target) {
    target.computer.Settings().language = language;
  };
}

crane_action_t ParseUnits(arguments_t words) {
  const auto table = host::FindCommand("units")->fields[0].names;
  const auto units = static_cast<units_t>(ParseProtocolName(table, words[0]));
  return [units](action_target_t& target) { target.computer.Settings().units = units; };
}

crane_action_t ParseSilence(arguments_t words) {
  constexpr double MOST = 3600;
  return [time = ParseQuantity(words[0], 0, MOST, SECONDS)](action_target_t& target) {
    target.computer.FallSilent(time);
  };
}

crane_action_t ParseRestart(arguments_t) {
  return [](action_target_t& target) { target.computer.Restart(); };
}

crane_action_t ParseTraffic(arguments_t words) {
  static constexpr std::array<std::string_view, 2> NAMES = {"usual", "full"};
  const bool full = ParseName(NAMES, words[0]) == 1;
  return [full](action_target_t& target) { target.computer.SetFullTraffic(full); };
}

crane_action_t ParseSend(arguments_t words) {
  host::Cmd2Values neutral;
  host::PlanSend(words, neutral);  // throws for a wrong argument
  return [arguments = std::vector<std::string>(words.begin(), words.end())](action_target_t& target) {
    target.computer.Send(arguments);
  };
}

crane_action_t ParseHold(arguments_t words) {
  std::map<std::string, double> values;
  for (const std::string& word : words) {
    const std::string name = word.substr(0, word.find('='));
    const auto& fields = host::OperatingValuesCommand().fields;
    const auto field = std::ranges::find(fields, name, &host::field_t::name);
    if (field == fields.end()) {
      std::vector<std::string_view> names;
      std::ranges::transform(fields, std::back_inserter(names), &host::field_t::name);
      RefuseWord(name, "an operating value, which alone can be held", names);
    }
    if (name.size() == word.size()) throw UsageError(name + " needs a value: write " + name + "=...");
    values[name] = host::ParseValue(*field, std::string_view(word).substr(name.size() + 1));
  }
  return [values](action_target_t& target) {
    for (const auto& [name, value] : values) target.computer.Hold(name, value);
  };
}

crane_action_t ParseRelease(arguments_t) {
  return [](action_target_t& target) { target.computer.Release(); };
}

crane_action_t ParseSay(arguments_t words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
  return [text](action_target_t& target) { target.say(text); };
}

crane_action_t ParseExpect(arguments_t words) {
  return [expectation = judge::ParseExpectation(words)](action_target_t& target) {
    if (target.expect) target.expect(expectation, target.place);
  };
}

constexpr action_row_t ACTIONS[] = {
    {"base", "tires|retracted|half|extended", "what the crane stands on; outriggers take seconds", 1, 1,
     ParseBase},
    {"boom", "angle DEGREES | length METRES", "the boom to an angle or a length", 2, 2, ParseBoom},
    {"swing", "DEGREES", "to the right of the front, negative to the left", 1, 1, ParseSwingAction},
    {"hoist", "HEIGHT | hold HEIGHT | stop", "the hook above the ground; with hold the winch follows the boom",
     1, 2, ParseHoist},
    {"load", "KILOGRAMS", "on the hook, without the hook block", 1, 1, ParseLoad},
    {"stop", "", "stops every movement", 0, 0, ParseStop},
    {"wind", "METRES-A-SECOND", "makes the load sway", 1, 1, ParseWind},
    {"counterweight", "on|off", "", 1, 1, ParseCounterweight},
    {"jib", "absent|stowed|long-0|short-0|long-15|...", "the lattice jib", 1, 1, ParseJib},
    {"pick", "main-boom|aux|fly", "where the hook hangs", 1, 1, ParsePick},
    {"winch", "front|rear", "", 1, 1, ParseWinch},
    {"aux-head", "on|off", "", 1, 1, ParseAuxHead},
    {"man-basket", "on|off", "", 1, 1, ParseManBasket},
    {"boom-mode", "together|manual", "how the sections telescope", 1, 1, ParseBoomMode},
    {"parts", "NUMBER", "parts of line", 1, 1, ParseParts},
    {"limit", "angle|radius|extension|swing [LEAST|none] MOST | ... off", "the operator's limits", 2, 3,
     ParseLimit},
    {"fault", "load-cell|angle-sensor|length-sensor|swing-sensor|two-block-switch [on|off]",
     "sets or clears a sensor fault", 1, 2, ParseFault},
    {"control-unit", "engine|transmission|brakes|steering|body|exhaust|ADDRESS on|off",
     "a control unit beside the load computer that reports its faults (DM1)", 2, 2, ParseControlUnitSwitch},
    {"trouble-code", "CONTROL-UNIT SPN FMI [stop|warning|protect|malfunction|none [COUNT] | off]",
     "sets or clears a fault of a control unit, with its lamp and number of occurrences", 3, 5,
     ParseTroubleCode},
    {"key", "NAME", "what the host does when the display reports this key", 1, 1, ParseKey},
    {"press", "NUMBER", "presses a front key of the display on this machine", 1, 1, ParsePress},
    {"language", "english|spanish|portuguese|chinese|russian|french", "", 1, 1, ParseLanguage},
    {"units", "imperial|metric", "", 1, 1, ParseUnits},
    {"silence", "SECONDS", "the host sends nothing; the crane keeps moving", 1, 1, ParseSilence},
    {"restart", "", "the host restarts, with its start-up messages", 0, 0, ParseRestart},
    {"traffic", "usual|full", "full: as much as a host can send", 1, 1, ParseTraffic},
    {"send", "COMMAND=VALUE...", "any command by name, with the arguments of hx7 send", 1, ANY_NUMBER,
     ParseSend},
    {"hold", "NAME=VALUE...", "the host sends these operating values, whatever the crane does", 1, ANY_NUMBER,
     ParseHold},
    {"release", "", "ends hold", 0, 0, ParseRelease},
    {"say", "TEXT", "prints a line for the user", 1, ANY_NUMBER, ParseSay},
    {EXPECT_ACTION,
     "NAME \"TEXT\" | NAME == NUMBER | [no] lamp LAMP | reply REQUEST VALUE | picture FILE ... [within "
     "SECONDS]",
     "what the display has to show, or reply, by then (default: within 2); see docs/simulator.md", 1,
     ANY_NUMBER, ParseExpect},
};

std::vector<std::string_view> ActionNames() {
  std::vector<std::string_view> names;
  std::ranges::transform(ACTIONS, std::back_inserter(names), &action_row_t::word);
  return names;
}

// Quotes join a word; with `keepQuotes` they stay in it too.
std::vector<std::string> Split(std::string_view text, bool keepQuotes) {
  std::vector<std::string> words;
  bool inWord = false;
  bool inQuotes = false;
  for (const char c : text) {
    const bool quote = c == '"';
    if (!inQuotes && !inWord && c == '#') break;
    const bool blank = !inQuotes && (c == ' ' || c == '\t' || c == '\r');
    if (!blank && !inWord) words.emplace_back();
    inWord = !blank;
    if (quote) inQuotes = !inQuotes;
    if (inWord && (!quote || keepQuotes)) words.back().push_back(c);
  }
  if (inQuotes) throw UsageError("a quote \" is not closed");
  return words;
}

bool IsExpectation(std::span<const std::string> words) {
  if (words.empty()) return false;
  constexpr std::string_view BEGIN_OF_TIME = "0123456789.+";
  const bool hasTime = BEGIN_OF_TIME.find(words[0].front()) != std::string_view::npos;
  return words.size() > (hasTime ? 1 : 0) && words[hasTime ? 1 : 0] == EXPECT_ACTION;
}

}  // namespace

std::vector<std::string> SplitWords(std::string_view text) {
  std::vector<std::string> words = Split(text, true);
  return IsExpectation(words) ? words : Split(text, false);
}

crane_action_t ParseAction(std::span<const std::string> words) {
  const auto* row = std::ranges::find(ACTIONS, words[0], &action_row_t::word);
  if (row == std::end(ACTIONS))
    RefuseWord(words[0], "an action; hx7 simulate --help lists them", ActionNames());
  const arguments_t arguments = words.subspan(1);
  if (arguments.size() < row->least || arguments.size() > row->most) {
    throw UsageError(std::string(row->word) + " takes " +
                     (row->most == 0 ? "nothing" : std::string(row->arguments)));
  }
  return row->parse(arguments);
}

std::string ListActions() {
  std::string text;
  for (const action_row_t& row : ACTIONS) {
    text.append("  ").append(row.word).append(" ").append(row.arguments);
    if (!row.about.empty()) text.append("\n      ").append(row.about);
    text += "\n";
  }
  return text;
}

}  // namespace simulate
