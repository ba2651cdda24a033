// The host keys, one by one.
#include <array>

#include "host/load_computer/dialogue.h"

namespace simulate {
namespace {

constexpr std::int64_t kSwingPage_ms = 2500;
// The display has left its configuration page by then and can be asked to leave the next one.
constexpr std::int64_t kConfigurationLeft_ms = 1000;

}  // namespace

std::span<const Dialogue::reaction_t> Dialogue::Reactions() {
  static constexpr std::array<reaction_t, 22> kReactions = {{
      {1, "telescope the boom's sections together or one by one; boom mode lamp", &Dialogue::ToggleBoomMode},
      {2, "front or rear winch; their lamps and text", &Dialogue::NextWinch},
      {3, "counterweight on or off; its lamp and text, and another load chart", &Dialogue::ToggleCounterweight},
      {4, "jib stowed on the boom or not carried; its lamp, icon and text", &Dialogue::ToggleStowed},
      {5, "the beeper is silent until another alarm comes", &Dialogue::CancelAlarm},
      {6, "back to the operating page; a menu is left", &Dialogue::ExitToMain},
      {7, "one part of line less; from 1 to the most", &Dialogue::FewerParts},
      {8, "first choice of a menu", &Dialogue::SelectNumber<0>},
      {9, "one part of line more; from the most to 1", &Dialogue::MoreParts},
      {10, "jib erected: long and short fly at 0, 15 and 30 degrees, then stowed", &Dialogue::NextFly},
      {11, "auxiliary head on or off; its lamp and text", &Dialogue::ToggleAux},
      {12, "hook on main boom, auxiliary head or fly, as far as they are there", &Dialogue::NextPick},
      {13, "back from the configuration page", &Dialogue::ExitConfiguration},
      {14, "third choice of a menu", &Dialogue::SelectNumber<2>},
      {15, "fourth choice of a menu", &Dialogue::SelectNumber<3>},
      {16, "menu of tires and outriggers; again: the configuration page", &Dialogue::ShowBases},
      {17, "second choice of a menu", &Dialogue::SelectNumber<1>},
      {18, "information: heights; menu of the operator's limits; pressures; program", &Dialogue::NextInfo},
      {19, "menu of tires and outriggers; again: the configuration page", &Dialogue::ShowBases},
      {20, "what the sensors measure, for calibration", &Dialogue::ShowCalibration},
      {21, "swing in degrees, as area or as arc of the load chart; a page says which", &Dialogue::NextSwing},
      {22, "man basket on or off; its lamp, and half of the capacity", &Dialogue::ToggleManBasket},
  }};
  return kReactions;
}

void Dialogue::Toggle(bool crane::rigging_t::*part, Text on, Text off) {
  crane::rigging_t rigging = cab_.crane.Rigging();
  rigging.*part = !(rigging.*part);
  cab_.crane.Rig(rigging);
  Tell(rigging.*part ? on : off);
}

void Dialogue::ToggleBoomMode() {
  Toggle(&crane::rigging_t::manualBoom, Text::kBoomManual, Text::kBoomTogether);
}

void Dialogue::NextWinch() {
  crane::rigging_t rigging = cab_.crane.Rigging();
  const bool front = rigging.winch == crane::Winch::kFront;
  rigging.winch = front ? crane::Winch::kRear : crane::Winch::kFront;
  cab_.crane.Rig(rigging);
  Tell(front ? Text::kRearWinch : Text::kFrontWinch);
}

void Dialogue::ToggleCounterweight() {
  Toggle(&crane::rigging_t::counterweight, Text::kCounterweight, Text::kNoCounterweight);
}

void Dialogue::ToggleStowed() {
  crane::rigging_t rigging = cab_.crane.Rigging();
  const bool stowed = rigging.jib == crane::Jib::kStowed;
  rigging.jib = stowed ? crane::Jib::kAbsent : crane::Jib::kStowed;
  if (rigging.pick == crane::Pick::kFly) rigging.pick = crane::Pick::kMainBoom;
  cab_.crane.Rig(rigging);
  Tell(stowed ? Text::kNoJib : Text::kJibStowed);
}

void Dialogue::CancelAlarm() {
  Tell(cab_.bell.Silence() ? Text::kSilenced : Text::kNothingToSilence);
}

// Also when nothing but the operating page is shown: the display may have gone to Wad by itself.
void Dialogue::ExitToMain() {
  LeaveWad();
}

void Dialogue::ChangeParts(int by) {
  crane::rigging_t rigging = cab_.crane.Rigging();
  rigging.parts = (rigging.parts - 1 + by + crane::kMostParts) % crane::kMostParts + 1;
  cab_.crane.Rig(rigging);
}

void Dialogue::FewerParts() {
  ChangeParts(-1);
}

// The display has no key for fewer on its pages, so that the most is followed by one.
void Dialogue::MoreParts() {
  ChangeParts(1);
}

void Dialogue::NextFly() {
  crane::rigging_t rigging = cab_.crane.Rigging();
  if (!crane::IsErected(rigging.jib)) {
    rigging.jib = crane::Jib::kLong0;
  } else if (rigging.jib == crane::Jib::kShort30) {
    rigging.jib = crane::Jib::kStowed;
    if (rigging.pick == crane::Pick::kFly) rigging.pick = crane::Pick::kMainBoom;
  } else {
    rigging.jib = static_cast<crane::Jib>(static_cast<unsigned>(rigging.jib) + 1);
  }
  cab_.crane.Rig(rigging);
}

void Dialogue::ToggleAux() {
  crane::rigging_t rigging = cab_.crane.Rigging();
  rigging.auxHead = !rigging.auxHead;
  if (rigging.pick == crane::Pick::kAux) rigging.pick = crane::Pick::kMainBoom;
  cab_.crane.Rig(rigging);
  Tell(rigging.auxHead ? Text::kAuxOn : Text::kAuxOff);
}

void Dialogue::NextPick() {
  using crane::Pick;
  crane::rigging_t rigging = cab_.crane.Rigging();
  const bool fly = crane::IsErected(rigging.jib);
  if (rigging.pick == Pick::kMainBoom && rigging.auxHead) {
    rigging.pick = Pick::kAux;
  } else if (rigging.pick != Pick::kFly && fly) {
    rigging.pick = Pick::kFly;
  } else {
    rigging.pick = Pick::kMainBoom;
  }
  cab_.crane.Rig(rigging);
  static constexpr std::array<Text, 3> kNotices = {Text::kMainBoom, Text::kAuxHead, Text::kFly};
  Tell(kNotices[static_cast<std::size_t>(rigging.pick)]);
}

void Dialogue::ExitConfiguration() {
  Transition("config-to-wad");
  view_ = View::kInfo;
  infoPage_ = 0;
  ReturnIn(kConfigurationLeft_ms);
}

void Dialogue::ShowBases() {
  if (view_ != View::kBaseMenu) return ShowWad(View::kBaseMenu, true);
  Transition("wad-to-config");
  view_ = View::kConfiguration;
}

void Dialogue::NextInfo() {
  infoPage_ = view_ == View::kInfo ? (infoPage_ + 1) % kInfoPages : 0;
  ShowWad(View::kInfo, infoPage_ == kLimitsPage);
}

void Dialogue::ShowCalibration() {
  ShowWad(View::kCalibration, false);
}

void Dialogue::NextSwing() {
  SwingShown& shown = cab_.settings.swing;
  shown = static_cast<SwingShown>((static_cast<unsigned>(shown) + 1) % kSwingShownNames.size());
  ShowWad(View::kSwing, false);
  ReturnIn(kSwingPage_ms);
}

void Dialogue::ToggleManBasket() {
  Toggle(&crane::rigging_t::manBasket, Text::kManBasket, Text::kNoManBasket);
}

}  // namespace simulate
