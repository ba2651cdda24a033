// The screen as the application's texts leave it: what was last sent to each widget.
//
// This program brings its own ScreenApi, which keeps the texts instead of publishing them, so that each of
// billions of values goes through the widgets' own code with nothing between the processes.
#pragma once

#include <array>
#include <cstddef>
#include <string>

namespace exhaustive {

constexpr std::size_t RECORDED_HANDLES = 32;

// By handle. Of one thread.
extern std::array<std::string, RECORDED_HANDLES> recordedTexts;

}  // namespace exhaustive
