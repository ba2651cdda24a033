// Fuzzes everything that a host can send, from the delivery by the J1939 service to the record. An odd first
// byte sends the rest as one message, cut into frames in the right sequence; an even one sends it as frames of
// eight bytes each.
//
// Oracle: the host's own decoder. Both sides join the same messages; each word of the record has the value that
// the decoder reads, and no other word changes; the fields have the decoder's texts, repaired by the reference.
#include <array>
#include <cmath>

#include "platform/byte_order.h"

#include "bench/exhaustive/utf8_reference.h"
#include "fuzz/fuzz_input.h"
#include "fuzz/record_words.h"
#include "host/protocol/field_codecs.h"
#include "host/protocol/traffic_decoder.h"
#include "host/shown/shown_state.h"
#include "src/core/operating_values.h"
#include "src/hostlink/can_transport.h"
#include "src/hostlink/decapsulation.h"
#include "src/hostlink/j1939_external.h"
#include "src/parse/parse_thread.h"
#include "src/text/expand.h"
#include "src/text/fields.h"
#include "tests/support/test_record.h"

namespace {

using fuzz::Require;
using block_t = std::array<std::uint8_t, MAX_MESSAGE_SIZE>;
using code_points_t = std::vector<unsigned>;

// What the record's setter keeps of a value; empty: nothing.
std::optional<double> Kept(const std::string& word, double value) {
  if (word == "operating-values capacity") return 100 * std::trunc(value / 100) + 0.0;
  if (word == "operating-values load") return 100 * std::trunc((value + 50) / 100) + 0.0;
  if (word == "operating-values percent") return value / 100;
  if (word == "brightness-adjust value" || word == "select-mode value") return value != 0 ? 1 : 0;
  if (word == "beeper duration" && value == 255) return 0;  // continuous
  if ((word == "units value" && value > 1) || (word == "language value" && value > 5)) return std::nullopt;
  return value;
}

bool IsSame(double one, double other) {
  return one == other || (std::isnan(one) && std::isnan(other)) ||
         std::abs(one - other) < std::abs(one) * 1e-15;
}

void CheckWords(orvikData_t* data, const block_t& block, const words_t& before) {
  words_t expected = before;
  const host::command_t* command = host::FindCommand(block);
  for (const host::field_t& field : command != nullptr ? command->fields : std::span<const host::field_t>()) {
    std::string word = std::string(command->name) + " " + std::string(field.name);
    if (word == "beep-duration duration") word = "beeper duration";
    if (!expected.contains(word)) continue;
    expected[word] = Kept(word, host::ReadNumber(field, block)).value_or(expected[word]);
  }
  for (const auto& [word, value] : WordsOf(*data)) Require(IsSame(value, expected.at(word)));
}

code_points_t Expand(orvikData_t* data, const std::string& text) {
  code_points_t expanded;
  ExpandSubCommand(data, exhaustive::ExpectedRepair(text), expanded);
  return expanded;
}

// Fields that have a text on one side have one on the other. Their texts are compared where the decoder has no
// complaint: it does not read past the message, which the display does.
void CheckTexts(orvikData_t* data, const block_t& block, const host::decoded_t& decoded) {
  host::ShownState shown;
  shown.Apply(block);
  std::array<code_points_t, FIELD_COUNT> texts;
  for (const host::value_t& value : decoded.values) {
    code_points_t& text = texts.at(host::FindTextField(value.name).value_or(FIELD_FLASH));
    if (!text.empty()) text.push_back(data->spaceChar);
    for (const unsigned codePoint : Expand(data, value.text)) text.push_back(codePoint);
  }
  for (std::size_t i = 0; i < FIELD_COUNT; ++i) {
    const std::string name = "text " + std::string(host::TextFieldNames()[i]);
    Require(shown.Shown().contains(name) == !FIELDS[i].field->text.empty());
    Require(!decoded.problem.empty() || FIELDS[i].field->text == texts.at(i));
  }
}

void CheckFlash(orvikData_t* data, const std::string& sent) {
  const code_points_t text = Expand(data, sent);
  const std::size_t cells = data->expandFullWidth == 1 ? 21 : 29;
  code_points_t expected(text.size() < cells ? (cells - text.size()) / 2 : 0, data->blankChar);
  expected.insert(expected.end(), text.begin(), text.end());
  Require(data->flashLine == expected);
}

// The application takes the message that the host has sent.
void CheckMessage(orvikData_t* data, const host::MessageBytes& sent, const block_t& block) {
  Require(std::equal(sent.begin(), sent.end(), block.begin()));
  const words_t before = WordsOf(*data);
  ParseQueuedMessages(data);
  CheckWords(data, block, before);
  const host::decoded_t decoded = host::ReadCommand(block, {});
  if (decoded.name == "flash" && decoded.problem.empty()) CheckFlash(data, decoded.values.at(0).text);
  const unsigned length = platform::LoadBe16(block, 1);  // of the texts
  const bool isTaken = length >= host::LEAST_TEXTS_LENGTH && std::cmp_less_equal(length, data->lcdSize * 5 + 2);
  if (decoded.name == "texts" && isTaken) CheckTexts(data, block, decoded);
}

std::vector<bus::frame_t> MakeFrames(bool isMessage, fuzz::bytes_t bytes) {
  if (isMessage && !bytes.empty())
    return host::CutIntoFrames(bytes.first(std::min(bytes.size(), MessageRoom(255))));
  std::vector<bus::frame_t> frames;
  for (fuzz::InputReader reader(bytes); !reader.IsAtEnd();) {
    frames.push_back({.identifier = HOST_FRAME_ID, .length = FRAME_SIZE, .data = {}});
    std::ranges::copy(reader.Take(FRAME_SIZE), frames.back().data.begin());
  }
  return frames;
}

}  // namespace

void fuzz::RunInput(bytes_t input) {
  static TestRecord record;
  if (input.empty()) return;
  InitAllFields();
  SetLanguage(record, (input[0] & 2U) != 0 ? 3 : 0);
  Decapsulator decapsulator;
  host::TrafficDecoder host;
  for (const bus::frame_t& frame : MakeFrames((input[0] & 1U) != 0, input.subspan(1))) {
    std::array<std::uint8_t, J1939_MESSAGE_SIZE> delivery{};
    platform::StoreLe32(delivery, J1939_IDENTIFIER_AT, frame.identifier);
    std::ranges::copy(frame.data, delivery.begin() + J1939_DATA_AT);
    HandleServiceMessage(record, delivery);
    DecapsulateQueuedFrames(record, decapsulator);
    const std::uint64_t requests = host.Counts().requests;
    const auto sent = host.Accept(frame);
    const bool isMessage = sent && host.Counts().requests == requests;
    Require(record->decapData.size() == (isMessage ? 1U : 0U));
    if (isMessage) CheckMessage(record, sent->bytes, block_t(record->decapData[0].bytes));
  }
  for (const field_entry_t& entry : FIELDS) Require(entry.field->text.size() <= MAX_FIELD_TEXT);
}
