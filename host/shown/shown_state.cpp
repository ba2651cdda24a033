#include "host/shown/shown_state.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "platform/byte_order.h"

#include "host/protocol/field_codecs.h"
#include "host/protocol/value_text.h"
#include "src/core/frame_layout.h"

namespace host {
namespace {

using Block = ShownState::Block;

constexpr std::string_view DASHES = "-----";
constexpr double HUNDRED = 100.0;

std::string Printed(const char* format, double value) {
  std::array<char, 64> text{};  // a float has at most 39 digits before the point
  static_cast<void>(std::snprintf(text.data(), text.size(), format, value));
  return text.data();
}

std::string ShownCapacity(double value) {
  return ShownWeight(HUNDRED * std::trunc(value / HUNDRED));
}
std::string ShownLoad(double value) {
  return ShownWeight(HUNDRED * std::trunc((value + HUNDRED / 2) / HUNDRED));
}
std::string ShownPercent(double value) {
  return std::isfinite(value) ? Printed("%.0f", value) : std::string(DASHES);
}
std::string ShownPressure(double value) {
  return std::isfinite(value) ? Printed("%.1f", value) : std::string(DASHES);
}
std::string ShownCount(double value) {
  return Printed("%.0f", value);
}

struct value_form_t {
  std::string_view field;
  std::string (*text)(double);
};
constexpr std::array<value_form_t, 9> VALUE_FORMS = {{{"capacity", ShownCapacity},
                                                      {"load", ShownLoad},
                                                      {"radius", ShownLength},
                                                      {"angle", ShownAngle},
                                                      {"extension", ShownLength},
                                                      {"percent", ShownPercent},
                                                      {"parts-of-line", ShownCount},
                                                      {"piston-pressure", ShownPressure},
                                                      {"rod-pressure", ShownPressure}}};

// The lamps whose colour CMD7.18 sets, with the field that sets it.
struct colored_lamp_t {
  std::string_view lamp;
  std::string_view color;
};
constexpr std::array<colored_lamp_t, 4> COLORED_LAMPS = {{{"tires", "tires"},
                                                          {"outrigger-retracted", "retracted"},
                                                          {"outrigger-half", "half"},
                                                          {"outrigger-extended", "extended"}}};

// What each command changes on the screen. A command without a row changes nothing that is compared.
struct effect_t {
  std::string_view command;
  void (ShownState::*show)(const command_t& command, Block block);
};
constexpr auto EFFECTS = std::to_array<effect_t>({{"operating-values", &ShownState::ShowOperatingValues},
                                                  {"texts", &ShownState::ShowTexts},
                                                  {"flash", &ShownState::ShowFlash},
                                                  {"beeper", &ShownState::ShowBeeper},
                                                  {"beep-duration", &ShownState::ShowBeeper},
                                                  {"units", &ShownState::ShowKnownNumber},
                                                  {"language", &ShownState::ShowKnownNumber},
                                                  {"transition", &ShownState::ShowKnownNumber},
                                                  {"select-mode", &ShownState::ShowSwitch},
                                                  {"display-mode", &ShownState::ShowSwitch},
                                                  {"erected-icon", &ShownState::ShowNumber},
                                                  {"stowed-icon", &ShownState::ShowNumber},
                                                  {"colors", &ShownState::ShowColors},
                                                  {"swing-mode", &ShownState::ShowSwingMode}});

std::string FormatField(const field_t& field, Block block) {
  return FormatValue(field, ReadNumber(field, block));
}

}  // namespace

std::string ShownWeight(double value) {
  constexpr double MOST = 1'000'000;
  constexpr double COMMA = 1000;
  // The display shows every negative weight as 0.
  if (std::isnan(value) || value >= MOST) return std::string(DASHES);
  const double whole = std::trunc(std::max(value, 0.0) / HUNDRED) * HUNDRED;
  if (whole < COMMA) return Printed("%.0f", whole);
  return Printed("%.0f", std::trunc(whole / COMMA)) + Printed(",%03.0f", std::fmod(whole, COMMA));
}

std::string ShownLength(double value) {
  constexpr double MOST = 1000;
  if (std::isnan(value)) return std::string(DASHES);
  const double tenths = value < 0 ? 0 : std::trunc((value + 0.05) / 0.1) * 0.1;
  return tenths >= MOST ? std::string(DASHES) : Printed("%.1f", tenths);
}

std::string ShownAngle(double value) {
  constexpr double LEAST = -20;
  constexpr double MOST = 1000;
  // Adding 0.0 turns minus zero into zero, as the display does.
  const double tenths = (std::trunc((value + 0.05) / 0.1) + 0.0) * 0.1;
  return tenths >= LEAST && tenths < MOST ? Printed("%.1f", tenths) : std::string(DASHES);
}

std::string ShownSwing(int degrees) {
  constexpr int TURN = 360;
  if (std::abs(degrees) > TURN) return std::string(DASHES);
  return std::to_string(degrees % TURN);
}

void ShownState::Apply(std::span<const std::uint8_t> message) {
  const command_t* command = FindCommand(message);
  if (command == nullptr) return;
  const auto effect = std::ranges::find(EFFECTS, command->name, &effect_t::command);
  if (effect == EFFECTS.end()) return;
  // The display reads a block of fixed size; it is zero beyond the message.
  std::array<std::uint8_t, MAX_MESSAGE_SIZE> block{};
  std::copy_n(message.begin(), std::min(message.size(), block.size()), block.begin());
  (this->*effect->show)(*command, block);
}

void ShownState::SetLinkLost(bool lost) {
  if (lost) {
    shown_["link"] = "lost";
  } else {
    shown_.erase("link");
  }
}

void ShownState::ShowOperatingValues(const command_t& command, Block block) {
  for (const value_form_t& form : VALUE_FORMS) {
    shown_[std::string(form.field)] = form.text(ReadNumber(*FindField(command, form.field), block));
  }
  lamps_ = static_cast<std::uint32_t>(ReadNumber(*FindField(command, "led"), block));
  swing_ = static_cast<int>(ReadNumber(*FindField(command, "swing"), block));
  swingHeard_ = true;
  ShowSwing();
  ShowLamps();
}

void ShownState::ShowSwing() {
  if (!swingWord_.empty()) {
    shown_["swing"] = swingWord_;
  } else if (swingHeard_) {
    shown_["swing"] = ShownSwing(swing_);
  } else {
    shown_.erase("swing");
  }
}

void ShownState::ShowSwingMode(const command_t& command, Block block) {
  const std::string mode = FormatField(command.fields[0], block);
  swingWord_ = mode == "number" ? "" : mode;
  ShowSwing();
}

void ShownState::ShowLamps() {
  Forget("lamp ");
  for (const std::string& lamp : ListLamps(lamps_)) {
    const auto colored = std::ranges::find(COLORED_LAMPS, lamp, &colored_lamp_t::lamp);
    std::string light = "lit";
    if (colored != COLORED_LAMPS.end()) {
      const auto color = colors_.find(std::string(colored->color));
      light = color == colors_.end() ? "green" : color->second;  // the display's colour until the host sets one
    }
    shown_["lamp " + lamp] = light;
  }
}

void ShownState::ShowColors(const command_t& command, Block block) {
  for (const field_t& field : command.fields) colors_[std::string(field.name)] = FormatField(field, block);
  ShowLamps();
}

void ShownState::ShowBeeper(const command_t& command, Block block) {
  const field_t& field = command.fields[0];
  const double duration = ReadNumber(field, block);
  const bool named = !NameOf(field.names, static_cast<unsigned>(duration)).empty();
  shown_["beeper"] = FormatValue(field, duration) + (named ? "" : " x 10 ms");
}

void ShownState::ShowSwitch(const command_t& command, Block block) {
  const field_t& field = command.fields[0];
  shown_[std::string(command.name)] = FormatValue(field, ReadNumber(field, block) != 0 ? 1 : 0);
}

void ShownState::ShowNumber(const command_t& command, Block block) {
  shown_[std::string(command.name)] = FormatField(command.fields[0], block);
}

void ShownState::ShowKnownNumber(const command_t& command, Block block) {
  const field_t& field = command.fields[0];
  const std::string_view name = NameOf(field.names, static_cast<unsigned>(ReadNumber(field, block)));
  if (!name.empty()) shown_[command.name == "transition" ? "page-request" : std::string(command.name)] = name;
}

// Reads the text sub-command at the head of the rest of the block. Returns false where the display stops
// reading too.
bool ShownState::ShowText(Block text) {
  const std::size_t length = text.size() < TEXT_HEADER ? 0 : platform::LoadBe16(text, 0);
  if (length < LEAST_TEXT_LENGTH || length + TEXT_LENGTH_BYTES > text.size()) return false;
  const std::uint8_t field = text[TEXT_FIELD_AT];
  if (field >= TextFieldNames().size()) return true;
  std::string& shown = shown_["text " + std::string(TextFieldNames()[field])];
  if (!shown.empty()) shown += ' ';
  const Block letters = text.subspan(TEXT_HEADER, length + TEXT_LENGTH_BYTES - TEXT_HEADER);
  shown += Printable(std::string(letters.begin(), letters.end()));
  return true;
}

void ShownState::ShowTexts(const command_t& /*command*/, Block block) {
  const std::size_t length = platform::LoadBe16(block, 1);
  if (length < LEAST_TEXTS_LENGTH) return;
  Forget("text ");
  const Block texts = block.subspan(TEXTS_BEGIN);
  for (std::size_t at = 0; at < std::min(length, texts.size());) {
    if (!ShowText(texts.subspan(at))) return;
    at += platform::LoadBe16(texts, at) + TEXT_LENGTH_BYTES;
  }
}

// The display ignores the field number of a flash message.
void ShownState::ShowFlash(const command_t& /*command*/, Block block) {
  const Block text = block.subspan(1);
  const std::size_t length = platform::LoadBe16(text, 0);
  if (length < LEAST_TEXT_LENGTH || length + TEXT_LENGTH_BYTES > text.size()) return;
  const Block letters = text.subspan(TEXT_HEADER, length + TEXT_LENGTH_BYTES - TEXT_HEADER);
  shown_["flash"] = Printable(std::string(letters.begin(), letters.end()));
}

void ShownState::Forget(std::string_view prefix) {
  std::erase_if(shown_, [prefix](const auto& entry) { return entry.first.starts_with(prefix); });
}

}  // namespace host
