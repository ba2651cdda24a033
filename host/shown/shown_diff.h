// Compares two sequences of display states and finds where they differ and where they agree again.
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

// One thing that the display shows differently, with its text in each log and since when it shows it. An empty
// text means that the display shows nothing under that name.
struct shown_otherwise_t {
  std::string name;
  std::array<std::string, SIDES> text;
  std::array<std::uint64_t, SIDES> time_us{};
};

struct difference_t {
  std::array<std::size_t, SIDES> states{};     // states in one log here that the other log lacks
  std::array<std::uint64_t, SIDES> time_us{};  // of the first such state; if there is none, of the state before
  std::vector<shown_otherwise_t> shown;        // by name; empty if only the order differs
};

// Compares only what is shown: how long a state lasts and how often the host repeats it do not matter. After a
// difference the logs agree again at the nearest state that both have within their next 1024; without such a
// state those 1024 are one difference. So memory is bounded for logs of any length.
class ShownDiff {
 public:
  using Source = std::function<std::optional<shown_at_t>()>;
  ShownDiff(Source a, Source b) : sources_{std::move(a), std::move(b)} {}
  // The next difference in order of time; empty at the end of both logs.
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
  std::array<shown_at_t, SIDES> before_;             // compared last; nothing shown at first
};

}  // namespace host
