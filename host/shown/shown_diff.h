// Lays two sequences of shown states side by side and says where they part and meet again.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/shown/shown_log.h"

namespace host {

// The two sides, A and B, are 0 and 1 everywhere.
constexpr std::size_t SIDES = 2;

// One thing that the display shows differently: what, since when, in each log; text empty where it shows
// nothing of the kind.
struct shown_otherwise_t {
  std::string name;
  std::array<std::string, SIDES> text;
  std::array<std::uint64_t, SIDES> time_us{};
};

struct difference_t {
  std::array<std::size_t, SIDES> states{};     // that one log has here and the other has not
  std::array<std::uint64_t, SIDES> time_us{};  // of the first of them; without any, of the state before
  std::vector<shown_otherwise_t> shown;        // by name; empty where only the order differs
};

// Compares by what is shown alone: how long a state lasts and how often it is sent again count for nothing.
// Where the logs part, they meet again at the nearest state that both have within 1024 of each; without one,
// the 1024 are one difference. So memory is bounded, whatever the length of the logs.
class ShownDiff {
 public:
  using Source = std::function<std::optional<shown_at_t>()>;
  ShownDiff(Source a, Source b) : sources_{std::move(a), std::move(b)} {}
  // The next difference in order of time; empty at the end of both.
  std::optional<difference_t> Next();

 private:
  struct meeting_t {
    std::array<std::size_t, SIDES> at;
  };
  bool Fill(std::size_t side, std::size_t states);
  void PassEqual();
  meeting_t Meet();
  std::optional<meeting_t> MeetAt(std::size_t sum);
  difference_t Describe(const meeting_t& meeting) const;

  std::array<Source, SIDES> sources_;
  std::array<std::deque<shown_at_t>, SIDES> ahead_;  // read and not yet compared
  std::array<shown_at_t, SIDES> before_;             // the last that was compared; nothing at first
};

}  // namespace host
