// What the operator sees, by the names of expect/shown_names.h.
#pragma once

#include <string>
#include <string_view>

namespace unit {

// The document of GET /api/shown (docs/http-api.md), on one line. `screen` is the screen service's state with
// its picture, `board` the board's view (unit/board/board_view.h; empty: there is no board), `beeper` what
// BeeperJudge says. Empty when `screen` is no such state.
std::string DescribeShown(const std::string& screen, const std::string& board, std::string_view beeper);

}  // namespace unit
