#include "host/shown/shown_diff.h"

#include <algorithm>
#include <set>
#include <span>

namespace host {
namespace {

constexpr std::size_t MOST_AHEAD = 1024;

// A text that one name shows through some states, and since when.
struct shown_step_t {
  std::string text;
  std::uint64_t time_us;
};

std::string ShownText(const shown_texts_t& shown, const std::string& name) {
  const auto found = shown.find(name);
  return found == shown.end() ? "" : found->second;
}

std::vector<shown_step_t> ListSteps(const std::string& name, const shown_at_t& before,
                                    std::span<const shown_at_t> states) {
  std::vector<shown_step_t> steps = {{ShownText(*before.shown, name), before.time_us}};
  for (const shown_at_t& state : states) {
    std::string text = ShownText(*state.shown, name);
    if (text != steps.back().text) steps.push_back({std::move(text), state.time_us});
  }
  return steps;
}

using side_states_t = std::array<std::vector<shown_at_t>, SIDES>;

std::set<std::string> ListShownNames(const side_states_t& states) {
  std::set<std::string> names;
  for (const auto& side : states) {
    for (const shown_at_t& state : side) {
      for (const auto& [name, text] : *state.shown) names.insert(name);
    }
  }
  return names;
}

// The first texts in which two sides differ. A side that has no further text still shows its last one.
std::optional<shown_otherwise_t> Compare(const std::string& name, const std::vector<shown_step_t>& a,
                                         const std::vector<shown_step_t>& b) {
  for (std::size_t i = 0; i < std::max(a.size(), b.size()); ++i) {
    const shown_step_t& inA = a[std::min(i, a.size() - 1)];
    const shown_step_t& inB = b[std::min(i, b.size() - 1)];
    if (inA.text != inB.text) return shown_otherwise_t{name, {inA.text, inB.text}, {inA.time_us, inB.time_us}};
  }
  return std::nullopt;
}

}  // namespace

bool ShownDiff::Fill(std::size_t side, std::size_t states) {
  while (ahead_[side].size() < states) {
    auto next = sources_[side]();
    if (!next) return false;
    ahead_[side].push_back(std::move(*next));
  }
  return true;
}

void ShownDiff::PassEqual() {
  for (;;) {
    const bool a = Fill(0, 1);
    const bool b = Fill(1, 1);
    if (!a || !b || !ahead_[0].front().ShowsAs(ahead_[1].front())) return;
    for (std::size_t side = 0; side < SIDES; ++side) {
      before_[side] = std::move(ahead_[side].front());
      ahead_[side].pop_front();
    }
  }
}

// Finds a state that both sides have, with distances from here that add up to `sum`.
std::optional<ShownDiff::meeting_t> ShownDiff::MeetAt(std::size_t sum) {
  for (std::size_t a = sum >= MOST_AHEAD ? sum - MOST_AHEAD + 1 : 0; a <= std::min(sum, MOST_AHEAD - 1); ++a) {
    const std::size_t b = sum - a;
    if (a >= ahead_[0].size() || b >= ahead_[1].size()) continue;
    if (ahead_[0][a].ShowsAs(ahead_[1][b])) return meeting_t{{a, b}};
  }
  return std::nullopt;
}

ShownDiff::meeting_t ShownDiff::Meet() {
  for (std::size_t sum = 1; sum <= 2 * (MOST_AHEAD - 1); ++sum) {
    const std::size_t reach = std::min(sum + 1, MOST_AHEAD);
    Fill(0, reach);
    Fill(1, reach);
    if (const auto meeting = MeetAt(sum)) return *meeting;
    if (sum >= ahead_[0].size() + ahead_[1].size()) break;  // both logs have ended
  }
  return {{ahead_[0].size(), ahead_[1].size()}};
}

difference_t ShownDiff::Describe(const meeting_t& meeting) const {
  side_states_t states;
  side_states_t named;  // the same and the state before, for the names that each side shows
  difference_t difference;
  for (std::size_t side = 0; side < SIDES; ++side) {
    const auto begin = ahead_[side].begin();
    states[side].assign(begin, begin + static_cast<std::ptrdiff_t>(meeting.at[side]));
    named[side] = states[side];
    named[side].push_back(before_[side]);
    difference.states[side] = states[side].size();
    difference.time_us[side] = states[side].empty() ? before_[side].time_us : states[side].front().time_us;
  }
  for (const std::string& name : ListShownNames(named)) {
    auto otherwise =
        Compare(name, ListSteps(name, before_[0], states[0]), ListSteps(name, before_[1], states[1]));
    if (otherwise) difference.shown.push_back(std::move(*otherwise));
  }
  return difference;
}

std::optional<difference_t> ShownDiff::Next() {
  PassEqual();
  if (ahead_[0].empty() && ahead_[1].empty()) return std::nullopt;
  const meeting_t meeting = Meet();
  difference_t difference = Describe(meeting);
  for (std::size_t side = 0; side < SIDES; ++side) {
    for (std::size_t i = 0; i < meeting.at[side]; ++i) {
      before_[side] = std::move(ahead_[side].front());
      ahead_[side].pop_front();
    }
  }
  return difference;
}

}  // namespace host
