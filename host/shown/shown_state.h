// What the display shows, as far as the host's messages decide it: a model for comparing logs, not for drawing.
//
// Values stand as the display rounds them, so that two hosts whose numbers differ by less than the screen shows
// are equal. What the display refuses changes nothing here either.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>

#include "host/protocol/protocol.h"

namespace host {

// By name: the protocol's own ("load", "units"), "lamp overload", "text line1-center", "flash", "page-request",
// "link". What the host has not said yet, a lamp that is dark and a field without a text have no entry.
using shown_texts_t = std::map<std::string, std::string>;

class ShownState {
 public:
  // A whole message of the host, with the padding of its last frame.
  void Apply(std::span<const std::uint8_t> message);
  void SetLinkLost(bool lost);
  const shown_texts_t& Shown() const { return shown_; }

  // The changes that the commands make; `block` is the message in the display's block of 256 bytes.
  using Block = std::span<const std::uint8_t>;
  void ShowOperatingValues(const command_t& command, Block block);
  void ShowTexts(const command_t& command, Block block);
  void ShowFlash(const command_t& command, Block block);
  void ShowColors(const command_t& command, Block block);
  void ShowSwingMode(const command_t& command, Block block);
  void ShowBeeper(const command_t& command, Block block);
  void ShowSwitch(const command_t& command, Block block);
  void ShowNumber(const command_t& command, Block block);
  void ShowKnownNumber(const command_t& command, Block block);  // others are refused

 private:
  void ShowLamps();
  void ShowSwing();
  bool ShowText(Block text);
  void Forget(std::string_view prefix);

  shown_texts_t shown_;
  std::uint32_t lamps_ = 0;
  std::map<std::string, std::string> colors_;  // of the lamps that have one
  int swing_ = 0;
  bool swingHeard_ = false;
  std::string swingWord_;  // instead of the number; empty: the number
};

// The operating values as the screen writes them; tested against the display's own functions.
std::string ShownWeight(double value);  // of whole hundreds: "12,300"
std::string ShownLength(double value);
std::string ShownAngle(double value);
std::string ShownSwing(int degrees);

}  // namespace host
