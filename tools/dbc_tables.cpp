#include <algorithm>
#include <sstream>
#include <vector>

#include "host/protocol/protocol.h"
#include "src/core/frame_layout.h"
#include "tools/dissector_tables.h"

namespace tables {
namespace {

using host::command_t;
using host::field_t;
using host::field_type_t;

constexpr std::uint32_t EXTENDED_FLAG = 0x80000000;  // marks 29-bit identifiers in a DBC file
constexpr unsigned BITS_PER_BYTE = 8;
constexpr std::size_t MESSAGE_BEGIN = FRAME_SIZE - FIRST_FRAME_ROOM;  // message byte 0 in the first frame

// One signal with what each section of the file says about it.
struct signal_t {
  std::string name;
  std::string multiplex;  // "M", "m7M", "m11"
  std::string selector;   // SG_MUL_VAL_: the signal whose value selects this one; empty if none does
  unsigned selected = 0;
  std::string place;  // "24|8@1+"
  double factor = 1.0;
  std::string unit;
  bool isFloat = false;
  std::span<const host::number_name_t> names = {};
  std::string comment = {};
};

std::string Identifier(std::string_view name) {
  std::string text(name);
  std::ranges::replace(text, '-', '_');
  return text;
}

std::string BytePlace(std::size_t frameByte) {
  return std::to_string(frameByte * BITS_PER_BYTE) + "|8@1+";
}

// A big-endian signal is placed by its highest bit.
std::string FloatPlace(std::size_t frameByte) {
  return std::to_string(frameByte * BITS_PER_BYTE + BITS_PER_BYTE - 1) + "|32@0-";
}

// A unit that the host sets is not part of the signal.
std::string_view FixedUnit(host::unit_t unit) {
  const host::unit_words_t& words = host::WordsOf(unit);
  return words.IsSetByHost() ? std::string_view() : words.name;
}

// True if the whole field is in the first frame and is of a type that DBC files have.
bool IsDescribable(const field_t& field) {
  const bool known = field.type == field_type_t::U8 || field.type == field_type_t::FLOAT_BE;
  return known && field.offset + field.size <= FIRST_FRAME_ROOM;
}

std::string SignalName(const command_t& command, const field_t& field) {
  if (&command == &host::OperatingValuesCommand()) return Identifier(field.name);
  if (command.fields.size() == 1) return Identifier(command.name);
  return Identifier(command.name) + "_" + Identifier(field.name);
}

signal_t MakeSignal(const command_t& command, const field_t& field) {
  const bool sub = command.sub != host::NO_SUB;
  const auto selected = static_cast<unsigned>(sub ? command.sub : command.number);
  const std::size_t at = MESSAGE_BEGIN + field.offset;
  const bool isFloat = field.type == field_type_t::FLOAT_BE;
  return {.name = SignalName(command, field),
          .multiplex = "m" + std::to_string(selected),
          .selector = sub ? "subcommand" : "command",
          .selected = selected,
          .place = isFloat ? FloatPlace(at) : BytePlace(at),
          .factor = 1.0 / field.scale,
          .unit = std::string(FixedUnit(field.unit)),
          .isFloat = isFloat,
          .names = field.names,
          .comment = std::string(command.about)};
}

void AddCommand(const command_t& command, std::vector<signal_t>& signals) {
  for (const field_t& field : command.fields) {
    if (IsDescribable(field)) signals.push_back(MakeSignal(command, field));
  }
}

// The signals of every message's first frame, which select those of the commands.
std::vector<signal_t> SelectorSignals() {
  return {{.name = "sequence",
           .multiplex = "M",
           .selector = {},
           .place = BytePlace(0),
           .unit = {},
           .comment = "0 in a message's first frame, then 1, 2, ...; those frames continue the message"},
          {.name = "frames",
           .multiplex = "m0",
           .selector = "sequence",
           .place = BytePlace(1),
           .unit = {},
           .comment = "frames of the message"},
          {.name = "command",
           .multiplex = "m0M",
           .selector = "sequence",
           .place = BytePlace(MESSAGE_BEGIN),
           .unit = {}},
          {.name = "subcommand",
           .multiplex = "m7M",
           .selector = "command",
           .selected = host::EXTENDED_COMMAND,
           .place = BytePlace(MESSAGE_BEGIN + 1),
           .unit = {}}};
}

std::vector<signal_t> HostSignals() {
  std::vector<signal_t> signals = SelectorSignals();
  for (const command_t& command : host::Commands()) AddCommand(command, signals);
  return signals;
}

// A reply does not carry its request's number, so a DBC file can describe only one: that of the usual request.
std::vector<signal_t> DisplaySignals() {
  std::vector<signal_t> signals = {
      {.name = "sequence", .multiplex = "M", .selector = {}, .place = BytePlace(0), .unit = {}},
      {.name = "frames", .multiplex = "m0", .selector = "sequence", .place = BytePlace(1), .unit = {}}};
  const command_t* request = host::FindCommand("key-state");
  for (const field_t& field : request->reply.fields) {
    signals.push_back(
        {.name = "key_state_" + Identifier(field.name),
         .multiplex = "m0",
         .selector = "sequence",
         .place = BytePlace(MESSAGE_BEGIN + field.offset),
         .unit = {},
         .names = field.names,
         .comment = "if the frame answers key-state; a reply does not say which request it answers"});
  }
  return signals;
}

struct frame_signals_t {
  std::uint32_t identifier;
  const char* name;
  const char* sender;
  const char* receiver;
  const char* comment;
  std::vector<signal_t> signals;
};

std::string FrameNumber(const frame_signals_t& frame) {
  return std::to_string(frame.identifier | EXTENDED_FLAG);
}

void PutFrame(const frame_signals_t& frame, std::ostream& out) {
  out << "BO_ " << FrameNumber(frame) << ' ' << frame.name << ": " << FRAME_SIZE << ' ' << frame.sender << '\n';
  for (const signal_t& signal : frame.signals) {
    out << " SG_ " << signal.name << ' ' << signal.multiplex << " : " << signal.place << " (" << signal.factor
        << ",0) [" << (signal.isFloat ? "0|0" : "0|255") << "] \"" << signal.unit << "\" " << frame.receiver
        << '\n';
  }
  out << '\n';
}

void PutComments(const frame_signals_t& frame, std::ostream& out) {
  out << "CM_ BO_ " << FrameNumber(frame) << " \"" << frame.comment << "\";\n";
  for (const signal_t& signal : frame.signals) {
    if (!signal.comment.empty())
      out << "CM_ SG_ " << FrameNumber(frame) << ' ' << signal.name << " \"" << signal.comment << "\";\n";
  }
}

void PutValues(const frame_signals_t& frame, std::ostream& out) {
  for (const signal_t& signal : frame.signals) {
    if (signal.names.empty()) continue;
    out << "VAL_ " << FrameNumber(frame) << ' ' << signal.name;
    for (const auto& [number, name] : signal.names) out << ' ' << int{number} << " \"" << name << '"';
    out << " ;\n";
  }
}

// The names of the commands, as values of the selecting signals.
void PutCommandNames(const frame_signals_t& frame, std::ostream& out) {
  for (const bool sub : {false, true}) {
    out << "VAL_ " << FrameNumber(frame) << (sub ? " subcommand" : " command");
    for (const command_t& command : host::Commands()) {
      if ((command.sub != host::NO_SUB) == sub)
        out << ' ' << (sub ? command.sub : int{command.number}) << " \"" << command.name << '"';
    }
    if (!sub) out << ' ' << int{host::EXTENDED_COMMAND} << " \"extended\"";
    out << " ;\n";
  }
}

void PutFloatTypes(const frame_signals_t& frame, std::ostream& out) {
  for (const signal_t& signal : frame.signals) {
    if (signal.isFloat) out << "SIG_VALTYPE_ " << FrameNumber(frame) << ' ' << signal.name << " : 1;\n";
  }
}

void PutSelectors(const frame_signals_t& frame, std::ostream& out) {
  for (const signal_t& signal : frame.signals) {
    if (signal.selector.empty()) continue;
    out << "SG_MUL_VAL_ " << FrameNumber(frame) << ' ' << signal.name << ' ' << signal.selector << ' '
        << signal.selected << '-' << signal.selected << ";\n";
  }
}

}  // namespace

std::string DbcText() {
  const std::vector<frame_signals_t> frames = {
      {HOST_FRAME_ID, "HostToDisplay", "HX7", "Orvik",
       "One frame of a command. Only values that lie whole in a message's first frame are described here; "
       "for the others join the frames, as docs/host-protocol.md says.",
       HostSignals()},
      {DISPLAY_FRAME_ID, "DisplayToHost", "Orvik", "HX7", "One frame of a reply.", DisplaySignals()}};
  std::ostringstream out;
  out << "VERSION \"\"\n\nNS_ :\n\tCM_\n\tVAL_\n\tSIG_VALTYPE_\n\tSG_MUL_VAL_\n\nBS_:\n\nBU_: HX7 Orvik\n\n";
  for (const auto& frame : frames) PutFrame(frame, out);
  out << "CM_ \"The host protocol of the Orvik display. Made by make_dissector_tables; do not edit.\";\n";
  for (const auto& frame : frames) PutComments(frame, out);
  PutCommandNames(frames[0], out);
  for (const auto& frame : frames) PutValues(frame, out);
  for (const auto& frame : frames) PutFloatTypes(frame, out);
  for (const auto& frame : frames) PutSelectors(frame, out);
  return out.str();
}

}  // namespace tables
