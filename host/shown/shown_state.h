// A model of what the host's messages make the display show, for comparing logs.
//
// Values are rounded as the display rounds them, so that numbers which look the same on the screen compare
// equal. Messages that the display refuses change nothing.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>

#include "host/protocol/protocol.h"

namespace host {

// Texts by name: the protocol's names ("load", "units"), "lamp overload", "text line1-center", "flash",
// "page-request", "link". Values that the host has not sent, dark lamps and empty text fields have no entry.
using shown_texts_t = std::map<std::string, std::string>;

class ShownState {
 public:
  // Takes a whole message of the host, with the padding of its last frame.
  void Apply(std::span<const std::uint8_t> message);
  void SetLinkLost(bool lost);
  const shown_texts_t& Shown() const { return shown_; }

  // What each command changes. `block` is the message in the display's block of 256 bytes.
  using Block = std::span<const std::uint8_t>;
  void ShowOperatingValues(const command_t& command, Block block);
  void ShowTexts(const command_t& command, Block block);
  void ShowFlash(const command_t& command, Block block);
  void ShowColors(const command_t& command, Block block);
  void ShowSwingMode(const command_t& command, Block block);
  void ShowBeeper(const command_t& command, Block block);
  void ShowSwitch(const command_t& command, Block block);
  void ShowNumber(const command_t& command, Block block);
  void ShowKnownNumber(const command_t& command, Block block);  // refuses others

 private:
  void ShowLamps();
  void ShowSwing();
  bool ShowText(Block text);
  void Forget(std::string_view prefix);

  shown_texts_t shown_;
  std::uint32_t lamps_ = 0;
  std::map<std::string, std::string> colors_;  // by field name; of the lamps with a colour
  int swing_ = 0;
  bool swingHeard_ = false;
  std::string swingWord_;  // shown instead of the number unless empty
};

// The operating values as the screen shows them. The tests compare these with the display's own functions.
std::string ShownWeight(double value);  // in whole hundreds: "12,300"
std::string ShownLength(double value);
std::string ShownAngle(double value);
std::string ShownSwing(int degrees);

}  // namespace host
