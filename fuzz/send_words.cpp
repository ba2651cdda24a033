// Fuzzes the words of `hx7 send`, one argument on each line. Oracle: the decoder. The frames of each step join
// to a message that it knows and the display takes; the values that are kept are those of the CMD2; a reply is
// awaited only to a request. A refusal names its argument.
#include "fuzz/fuzz_input.h"
#include "host/protocol/decode.h"
#include "host/protocol/errors.h"
#include "host/protocol/reassembly.h"
#include "host/protocol/send_plan.h"
#include "host/protocol/value_text.h"

namespace {

using fuzz::Require;
using arguments_t = std::vector<std::string>;

// Bytes and values that are written out can be anything, also a second CMD2.
bool IsRaw(const arguments_t& arguments) {
  return std::ranges::any_of(arguments, [](const std::string& word) {
    return word.starts_with("raw=") || word.starts_with("frame=") || word.starts_with("operating-values=");
  });
}

void CheckStep(const host::send_step_t& step, bool isRaw, const host::Cmd2Values& values) {
  host::Reassembler reassembler;
  host::MessageBytes message;
  for (const bus::frame_t& frame : step.frames) reassembler.Accept(frame.Bytes(), message);
  Require(step.request == nullptr || step.request == host::FindCommand(message));
  if (isRaw) return;
  const host::decoded_t decoded = host::ReadCommand(message, {});
  Require(decoded.command != "?" && decoded.problem.empty());
  if (decoded.name != "operating-values") return;
  message.resize(host::OperatingValuesCommand().leastLength);
  Require(values.MakeMessage() == message);
}

}  // namespace

void fuzz::RunInput(bytes_t input) {
  const std::string text = TextOf(input);
  arguments_t arguments;
  for (const std::string_view line : host::SplitAt(text, '\n'))
    arguments.emplace_back(std::string(line).c_str());
  host::Cmd2Values values;
  try {
    const host::plan_t plan = host::PlanSend(arguments, values);
    for (const host::send_step_t& step : plan.steps) CheckStep(step, IsRaw(arguments), values);
  } catch (const host::UsageError& error) {
    const std::string_view why = error.what();
    const auto isNamed = [why](const std::string& word) { return why.starts_with(word + ": "); };
    Require(std::ranges::any_of(arguments, isNamed) || why.find("text") != std::string_view::npos);
  }
}
