#include "host/load_computer/dialogue.h"

#include <algorithm>

namespace simulate {
namespace {

constexpr std::int64_t kNotice_ms = 3000;

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
  view_ = View::kOperating;
  infoPage_ = 0;
  selectMode_ = false;
  notice_.reset();
  returnAt_ms_.reset();
}

bool Dialogue::HasMenu() const {
  return view_ == View::kBaseMenu || (view_ == View::kInfo && infoPage_ == kLimitsPage);
}

void Dialogue::LeadFromSlate() {
  if (view_ == View::kOperating) return Transition("slate-to-main");
  Transition(view_ == View::kConfiguration ? "slate-to-config" : "slate-to-wad");
}

void Dialogue::Transition(std::string_view name) {
  const auto* command = host::FindCommand("transition");
  outbox_.Send(host::Encode("transition", *host::NumberOf(command->fields[0].names, name)));
}

void Dialogue::SelectMode(bool on) {
  if (on != selectMode_) outbox_.Send("select-mode", on ? 1 : 0);
  selectMode_ = on;
}

// The display goes from Main to Wad by some of its keys itself; the request is for those that do not, and is
// without effect on Wad. Select mode is left on between pages, because its end would lead to Main.
void Dialogue::ShowWad(View view, bool menu) {
  if (view_ == View::kConfiguration) Transition("config-to-wad");
  if (view_ == View::kOperating) Transition("main-to-wad");
  view_ = view;
  returnAt_ms_.reset();
  if (menu) SelectMode(true);
}

void Dialogue::LeaveWad() {
  if (selectMode_) {
    SelectMode(false);  // which brings the display back to Main
  } else {
    Transition("wad-to-main");
  }
  view_ = View::kOperating;
  infoPage_ = 0;
  returnAt_ms_.reset();
}

void Dialogue::Tell(Text notice) {
  notice_ = notice;
  noticeEnd_ms_ = now_ms_ + kNotice_ms;
}

void Dialogue::ReturnIn(std::int64_t time_ms) {
  returnAt_ms_ = now_ms_ + time_ms;
}

void Dialogue::Select(unsigned choice) {
  if (!HasMenu()) return Tell(Text::kNothingToSelect);
  if (view_ == View::kBaseMenu) return SelectBase(choice);
  ToggleLimit(choice);
}

void Dialogue::SelectBase(unsigned choice) {
  cab_.crane.MoveBase(static_cast<crane::Base>(choice));
  LeaveWad();
}

void Dialogue::ToggleLimit(unsigned choice) {
  const auto quantity = static_cast<crane::Quantity>(choice);
  if (cab_.limits.IsSet(quantity)) return cab_.limits.Clear(quantity);
  const measured_t& now = cab_.measured;
  const std::array<double, crane::kQuantityNames.size()> values = {now.angle, now.radius, now.extension,
                                                                   now.swing};
  cab_.limits.SetAround(quantity, values[choice]);
}

}  // namespace simulate
