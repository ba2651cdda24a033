// What each host key does.
#include <array>

#include "host/load_computer/dialogue.h"

namespace simulate {
namespace {

constexpr std::int64_t SWING_PAGE_MS = 2500;
// By then the display has left its configuration page and accepts the request to leave the next page.
constexpr std::int64_t CONFIGURATION_LEFT_MS = 1000;

}  // namespace

std::span<const Dialogue::reaction_t> Dialogue::Reactions() {
  static constexpr std::array<reaction_t, 22> REACTIONS = {{
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
  return REACTIONS;
}

void Dialogue::Toggle(bool crane::rigging_t::*member, phrase_t on, phrase_t off) {
  crane::rigging_t rigging = cab_.crane.Rigging();
  rigging.*member = !(rigging.*member);
  cab_.crane.Rig(rigging);
  Tell(rigging.*member ? on : off);
}

void Dialogue::ToggleBoomMode() {
  Toggle(&crane::rigging_t::manualBoom, phrase_t::BOOM_MANUAL, phrase_t::BOOM_TOGETHER);
}

void Dialogue::NextWinch() {
  crane::rigging_t rigging = cab_.crane.Rigging();
  const bool front = rigging.winch == crane::winch_t::FRONT;
  rigging.winch = front ? crane::winch_t::REAR : crane::winch_t::FRONT;
  cab_.crane.Rig(rigging);
  Tell(front ? phrase_t::REAR_WINCH : phrase_t::FRONT_WINCH);
}

void Dialogue::ToggleCounterweight() {
  Toggle(&crane::rigging_t::counterweight, phrase_t::COUNTERWEIGHT, phrase_t::NO_COUNTERWEIGHT);
}

void Dialogue::ToggleStowed() {
  crane::rigging_t rigging = cab_.crane.Rigging();
  const bool stowed = rigging.jib == crane::jib_t::STOWED;
  rigging.jib = stowed ? crane::jib_t::ABSENT : crane::jib_t::STOWED;
  if (rigging.pick == crane::pick_t::FLY) rigging.pick = crane::pick_t::MAIN_BOOM;
  cab_.crane.Rig(rigging);
  Tell(stowed ? phrase_t::NO_JIB : phrase_t::JIB_STOWED);
}

void Dialogue::CancelAlarm() {
  Tell(cab_.bell.Silence() ? phrase_t::SILENCED : phrase_t::NOTHING_TO_SILENCE);
}

// Sends the request on the operating page too: the display may have changed to Wad by itself.
void Dialogue::ExitToMain() {
  LeaveWad();
}

void Dialogue::ChangeParts(int by) {
  crane::rigging_t rigging = cab_.crane.Rigging();
  rigging.parts = (rigging.parts - 1 + by + crane::MOST_PARTS) % crane::MOST_PARTS + 1;
  cab_.crane.Rig(rigging);
}

void Dialogue::FewerParts() {
  ChangeParts(-1);
}

// The display's pages have no key for fewer parts, so after the most comes 1.
void Dialogue::MoreParts() {
  ChangeParts(1);
}

void Dialogue::NextFly() {
  crane::rigging_t rigging = cab_.crane.Rigging();
  if (!crane::IsErected(rigging.jib)) {
    rigging.jib = crane::jib_t::LONG0;
  } else if (rigging.jib == crane::jib_t::SHORT30) {
    rigging.jib = crane::jib_t::STOWED;
    if (rigging.pick == crane::pick_t::FLY) rigging.pick = crane::pick_t::MAIN_BOOM;
  } else {
    rigging.jib = static_cast<crane::jib_t>(static_cast<unsigned>(rigging.jib) + 1);
  }
  cab_.crane.Rig(rigging);
}

void Dialogue::ToggleAux() {
  crane::rigging_t rigging = cab_.crane.Rigging();
  rigging.auxHead = !rigging.auxHead;
  if (rigging.pick == crane::pick_t::AUX) rigging.pick = crane::pick_t::MAIN_BOOM;
  cab_.crane.Rig(rigging);
  Tell(rigging.auxHead ? phrase_t::AUX_ON : phrase_t::AUX_OFF);
}

void Dialogue::NextPick() {
  using crane::pick_t;
  crane::rigging_t rigging = cab_.crane.Rigging();
  const bool fly = crane::IsErected(rigging.jib);
  if (rigging.pick == pick_t::MAIN_BOOM && rigging.auxHead) {
    rigging.pick = pick_t::AUX;
  } else if (rigging.pick != pick_t::FLY && fly) {
    rigging.pick = pick_t::FLY;
  } else {
    rigging.pick = pick_t::MAIN_BOOM;
  }
  cab_.crane.Rig(rigging);
  static constexpr std::array<phrase_t, 3> NOTICES = {phrase_t::MAIN_BOOM, phrase_t::AUX_HEAD, phrase_t::FLY};
  Tell(NOTICES[static_cast<std::size_t>(rigging.pick)]);
}

void Dialogue::ExitConfiguration() {
  Transition("config-to-wad");
  view_ = view_t::INFO;
  infoPage_ = 0;
  ReturnIn(CONFIGURATION_LEFT_MS);
}

void Dialogue::ShowBases() {
  if (view_ != view_t::BASE_MENU) return ShowWad(view_t::BASE_MENU, true);
  Transition("wad-to-config");
  view_ = view_t::CONFIGURATION;
}

void Dialogue::NextInfo() {
  infoPage_ = view_ == view_t::INFO ? (infoPage_ + 1) % INFO_PAGES : 0;
  ShowWad(view_t::INFO, infoPage_ == LIMITS_PAGE);
}

void Dialogue::ShowCalibration() {
  ShowWad(view_t::CALIBRATION, false);
}

void Dialogue::NextSwing() {
  swing_shown_t& shown = cab_.settings.swing;
  shown = static_cast<swing_shown_t>((static_cast<unsigned>(shown) + 1) % SWING_SHOWN_NAMES.size());
  ShowWad(view_t::SWING, false);
  ReturnIn(SWING_PAGE_MS);
}

void Dialogue::ToggleManBasket() {
  Toggle(&crane::rigging_t::manBasket, phrase_t::MAN_BASKET, phrase_t::NO_MAN_BASKET);
}

}  // namespace simulate
