#include "host/protocol/send_plan.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include "base/nearest_word.h"
#include "bus/log_lines.h"
#include "host/protocol/encode.h"
#include "host/protocol/errors.h"
#include "host/protocol/value_text.h"

namespace host {
namespace {

constexpr std::string_view RAW = "raw";
constexpr std::string_view FRAME = "frame";

struct argument_t {
  std::string_view name;
  std::optional<std::string_view> value;
};

argument_t SplitArgument(std::string_view text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string_view::npos) return {text, std::nullopt};
  return {text.substr(0, equals), text.substr(equals + 1)};
}

std::vector<std::string_view> AllNames() {
  std::vector<std::string_view> names{RAW, FRAME};
  for (const command_t& command : Commands()) names.push_back(command.name);
  for (const field_t& field : OperatingValuesCommand().fields) names.push_back(field.name);
  names.insert(names.end(), TextFieldNames().begin(), TextFieldNames().end());
  return names;
}

[[noreturn]] void RefuseName(std::string_view name) {
  const std::string suggestion = base::Suggest(name, AllNames());
  throw UsageError("there is no command or value \"" + std::string(name) + "\"" +
                   (suggestion.empty() ? "; " : suggestion + " ") + "`hx7 send --list` shows all names");
}

std::string_view RequireValue(const argument_t& argument) {
  if (!argument.value)
    throw UsageError(std::string(argument.name) + " needs a value: write " + std::string(argument.name) +
                     "=...");
  return *argument.value;
}

MessageBytes ParseHexMessage(std::string_view text) {
  MessageBytes message;
  for (; !text.empty(); text.remove_prefix(2)) {
    std::uint8_t byte = 0;
    const auto [stop, error] =
        std::from_chars(text.data(), text.data() + std::min<std::size_t>(2, text.size()), byte, 16);
    if (text.size() < 2 || error != std::errc() || stop != text.data() + 2) {
      throw UsageError("raw takes pairs of hexadecimal digits, such as raw=0714");
    }
    message.push_back(byte);
  }
  return message;
}

bus::frame_t ParseFrame(std::string_view text) {
  const auto line = bus::ParseLogLine("(0.0) can0 " + std::string(text));
  if (!line) throw UsageError("frame takes IDENTIFIER#DATA, such as frame=18FF00D0#0001060000000000");
  return line->frame;
}

std::vector<double> ParseFieldValues(const command_t& command, std::string_view text) {
  const auto parts = SplitAt(text, ',');
  const std::size_t wanted = command.fields.size();
  if (parts.size() != wanted) {
    throw UsageError(std::string(command.name) + " takes " + std::to_string(wanted) + " value" +
                     (wanted == 1 ? "" : "s with commas between"));
  }
  std::vector<double> values;
  for (std::size_t i = 0; i < parts.size(); ++i) values.push_back(ParseValue(command.fields[i], parts[i]));
  return values;
}

MessageBytes MakeArgumentMessage(const command_t& command, const argument_t& argument) {
  if (command.layout == message_layout_t::FLASH) return MakeFlashMessage(RequireValue(argument));
  if (command.layout == message_layout_t::TEXTS) {
    throw UsageError("name the field of the text, such as line1-center=\"HELLO\"");
  }
  if (command.fields.empty()) {
    if (argument.value) throw UsageError(std::string(command.name) + " takes no value");
    return MakeMessage(command);
  }
  const std::string_view value = RequireValue(argument);
  if (command.fields[0].type == field_type_t::KEY_MASKS) return MakeKeyMasksMessage(ParseKeyMasks(value));
  return MakeMessage(command, ParseFieldValues(command, value));
}

// Turns the arguments into steps one by one. CMD2 and CMD5 collect several arguments and are made at the end.
class Planner {
 public:
  explicit Planner(Cmd2Values& values) : values_(values) {}
  void Add(const argument_t& argument);
  plan_t Finish();

 private:
  void AddCommand(const argument_t& argument);
  send_step_t& CollectAt(std::optional<std::size_t>& step);

  Cmd2Values& values_;
  plan_t plan_;
  std::vector<field_text_t> texts_;
  std::optional<std::size_t> valuesStep_;
  std::optional<std::size_t> textsStep_;
};

send_step_t& Planner::CollectAt(std::optional<std::size_t>& step) {
  if (!step) {
    step = plan_.steps.size();
    plan_.steps.emplace_back();
  }
  return plan_.steps[*step];
}

void Planner::Add(const argument_t& argument) {
  if (argument.name == RAW) {
    plan_.steps.push_back({CutIntoFrames(ParseHexMessage(RequireValue(argument)))});
  } else if (argument.name == FRAME) {
    plan_.steps.push_back({{ParseFrame(RequireValue(argument))}});
  } else if (const field_t* field = FindField(OperatingValuesCommand(), argument.name)) {
    CollectAt(valuesStep_);
    values_.Set(field->name, ParseValue(*field, RequireValue(argument)));
  } else if (const auto text = FindTextField(argument.name)) {
    CollectAt(textsStep_);
    texts_.push_back({*text, std::string(RequireValue(argument))});
  } else {
    AddCommand(argument);
  }
}

void Planner::AddCommand(const argument_t& argument) {
  const command_t* command = FindCommand(argument.name);
  if (command == nullptr) RefuseName(argument.name);
  if (command == &OperatingValuesCommand() && !argument.value) {
    CollectAt(valuesStep_);
    return;
  }
  plan_.steps.push_back(
      {CutIntoFrames(MakeArgumentMessage(*command, argument)), command->reply.frames > 0 ? command : nullptr});
}

plan_t Planner::Finish() {
  if (valuesStep_) CollectAt(valuesStep_).frames = CutIntoFrames(values_.MakeMessage());
  if (textsStep_) CollectAt(textsStep_).frames = CutIntoFrames(MakeTextsMessage(texts_));
  plan_.sendsValues = valuesStep_.has_value();
  return std::move(plan_);
}

}  // namespace

plan_t PlanSend(std::span<const std::string> arguments, Cmd2Values& values) {
  Planner planner(values);
  for (const std::string& text : arguments) {
    const argument_t argument = SplitArgument(text);
    try {
      planner.Add(argument);
    } catch (const UsageError& error) {
      throw UsageError(text + ": " + error.what());
    }
  }
  return planner.Finish();
}

namespace {

std::string DescribeField(const field_t& field) {
  std::string words;
  for (const std::string& part : {std::string(WordsOf(field.unit).help), std::string(field.range),
                                  field.names.empty() ? "" : ListNames(field.names)}) {
    if (!part.empty()) words += (words.empty() ? "" : "; ") + part;
  }
  return words;
}

std::string FormatRow(std::string_view name, const std::string& words) {
  constexpr std::size_t WIDTH = 20;
  std::string row = "  " + std::string(name);
  row.resize(std::max(row.size() + 1, WIDTH), ' ');
  return row + words + "\n";
}

void ListCommand(const command_t& command, std::string& text) {
  if (command.layout == message_layout_t::TEXTS || &command == &OperatingValuesCommand()) return;
  std::string words(command.about);
  if (command.layout == message_layout_t::FLASH) words += "; a text";
  if (!command.fields.empty()) {
    const std::string values = DescribeField(command.fields[0]);
    words += command.fields.size() > 1 ? "; of each: " + values : values.empty() ? "" : "; " + values;
  }
  if (command.reply.frames > 0) words += "; prints the answer";
  text += FormatRow(std::string(command.name) +
                        (command.fields.empty() && command.layout == message_layout_t::FIELDS ? "" : "="),
                    words);
}

}  // namespace

std::string ListSendNames() {
  std::string text =
      "Operating values (a call sends all of them together; those not named keep their last value):\n";
  for (const field_t& field : OperatingValuesCommand().fields) {
    text += FormatRow(std::string(field.name) + "=", DescribeField(field));
  }
  text += FormatRow(OperatingValuesCommand().name, "sends them again unchanged");
  text += "  Lamps:";
  for (const std::string_view lamp : LampNames()) text.append(" ").append(lamp);
  text += "\n\nTexts (a call sends all of them together; those not named become empty):\n ";
  for (const std::string_view name : TextFieldNames()) text.append(" ").append(name);
  text += "\n\nCommands:\n";
  for (const command_t& command : Commands()) ListCommand(command, text);
  text += FormatRow("raw=", "a message of any bytes, in hexadecimal; hx7 cuts it into frames");
  text += FormatRow("frame=", "one frame of any identifier, as IDENTIFIER#DATA");
  text += "\nHost keys:";
  for (const number_name_t& key : HostKeyNames()) text.append(" ").append(key.name);
  return text + "\nMasks of valid-keys: " + ListNames(KeyMaskNames()) + " or 0 to 255\n";
}

}  // namespace host
