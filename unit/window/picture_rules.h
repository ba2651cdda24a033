// How the picture stands in the window: where, how bright, and what of it is dimmed at this moment because it
// flashes.
//
// The front panel shows the same (panel/assets/panel.js, FLASH_STYLE and DARKEST).
#pragma once

#include <chrono>
#include <string>

#include "unit/board/board_view.h"
#include "unit/screen/design/design.h"

namespace unit {

constexpr int PICTURE_WIDTH = static_cast<int>(SCREEN_WIDTH);
constexpr int PICTURE_HEIGHT = static_cast<int>(SCREEN_HEIGHT);

// In pixels of the window.
struct place_t {
  int x = 0, y = 0, width = 0, height = 0;

  bool operator==(const place_t&) const = default;
};

// The largest place for the whole picture in the middle of a window. Each side is 1 at least.
place_t FitPicture(int windowWidth, int windowHeight);

// The share of its full brightness, 0.15 to 1, that the picture has for the backlight's strength: a dark screen
// is still a readable picture here. 1 until the application has switched the light on.
double PictureBrightness(const board_view_t& board);

// How long the picture stands still while something flashes: a quarter of a second, for 2 Hz at the most.
constexpr std::chrono::milliseconds FLASH_STEP{250};

// The style sheet (CSS) that dims what flashes; `time` counts from any moment. Empty where nothing is dim, or
// nothing in the document flashes.
std::string FlashStyle(const std::string& svg, std::chrono::milliseconds time);
// Something in the document flashes (an element has the attribute data-flashing, 1 or 2 times a second).
bool HasFlash(const std::string& svg);

}  // namespace unit
