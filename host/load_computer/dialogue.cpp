#include "host/load_computer/dialogue.h"

#include <algorithm>

namespace simulate {
namespace {

constexpr std::int64_t NOTICE_MS = 3000;

}  // namespace

void Dialogue::Press(unsigned key) {
  const auto reactions = Reactions();
  const auto found = std::ranges::find(reactions, key, &reaction_t::key);
  if (found != reactions.end()) (this->*found->react)();
}

void Dialogue::Step(std::int64_t now_ms) {
  now_ms_ = now_ms;
  if (now_ms >= noticeEnd_ms_) notice_.reset();
  if (returnAt_ms_ && now_ms >= *returnAt_ms_) LeaveWad();
}

void Dialogue::Reset() {
  view_ = view_t::OPERATING;
  infoPage_ = 0;
  selectMode_ = false;
  notice_.reset();
  returnAt_ms_.reset();
}

bool Dialogue::HasMenu() const {
  return view_ == view_t::BASE_MENU || (view_ == view_t::INFO && infoPage_ == LIMITS_PAGE);
}

void Dialogue::LeadFromSlate() {
  if (view_ == view_t::OPERATING) return Transition("slate-to-main");
  Transition(view_ == view_t::CONFIGURATION ? "slate-to-config" : "slate-to-wad");
}

void Dialogue::Transition(std::string_view name) {
  const auto* command = host::FindCommand("transition");
  outbox_.Send(host::MakeMessage("transition", *host::NumberOf(command->fields[0].names, name)));
}

void Dialogue::SelectMode(bool on) {
  if (on != selectMode_) outbox_.Send("select-mode", on ? 1 : 0);
  selectMode_ = on;
}

// Some keys of the display change from Main to Wad by themselves. The request is for the other keys; on Wad it
// has no effect. Select mode stays on between pages: ending it would make the display go to Main.
void Dialogue::ShowWad(view_t view, bool menu) {
  if (view_ == view_t::CONFIGURATION) Transition("config-to-wad");
  if (view_ == view_t::OPERATING) Transition("main-to-wad");
  view_ = view;
  returnAt_ms_.reset();
  if (menu) SelectMode(true);
}

void Dialogue::LeaveWad() {
  if (selectMode_) {
    SelectMode(false);  // the display then returns to Main by itself
  } else {
    Transition("wad-to-main");
  }
  view_ = view_t::OPERATING;
  infoPage_ = 0;
  returnAt_ms_.reset();
}

void Dialogue::Tell(phrase_t notice) {
  notice_ = notice;
  noticeEnd_ms_ = now_ms_ + NOTICE_MS;
}

void Dialogue::ReturnIn(std::int64_t time_ms) {
  returnAt_ms_ = now_ms_ + time_ms;
}

void Dialogue::Select(unsigned choice) {
  if (!HasMenu()) return Tell(phrase_t::NOTHING_TO_SELECT);
  if (view_ == view_t::BASE_MENU) return SelectBase(choice);
  ToggleLimit(choice);
}

void Dialogue::SelectBase(unsigned choice) {
  cab_.crane.MoveBase(static_cast<crane::base_t>(choice));
  LeaveWad();
}

void Dialogue::ToggleLimit(unsigned choice) {
  const auto quantity = static_cast<crane::quantity_t>(choice);
  if (cab_.limits.IsSet(quantity)) return cab_.limits.Clear(quantity);
  const measured_t& now = cab_.measured;
  const std::array<double, crane::QUANTITY_NAMES.size()> values = {now.angle, now.radius, now.extension,
                                                                   now.swing};
  cab_.limits.SetAround(quantity, values[choice]);
}

}  // namespace simulate
