// Place and brightness of the picture in the window, and the elements that are dim at a given time because they
// flash.
//
// The front panel has the same rules (unit/panel/assets/panel.js, FLASH_STYLE and DARKEST).
#pragma once

#include <chrono>
#include <string>

#include "unit/board/board_view.h"
#include "unit/screen/design/design.h"
#include "unit/screen/render/document_items.h"

namespace unit {

constexpr int PICTURE_WIDTH = static_cast<int>(SCREEN_WIDTH);
constexpr int PICTURE_HEIGHT = static_cast<int>(SCREEN_HEIGHT);

// A rectangle in pixels of the window.
struct place_t {
  int x = 0, y = 0, width = 0, height = 0;

  bool operator==(const place_t&) const = default;
};

// The largest centred place in which the whole picture fits into the window. Each side is at least 1.
place_t FitPicture(int windowWidth, int windowHeight);

// The brightness of the picture for the strength of the backlight, from 0.15, so that a dark screen stays
// readable in the window, to 1. 1 until the application has switched the light on.
double PictureBrightness(const board_view_t& board);

// The time between two states of a flashing picture: a quarter of a second, which is enough for 2 Hz.
constexpr std::chrono::milliseconds FLASH_STEP{250};

// Which elements are dim at `time`, counted from any moment.
dim_rates_t DimAt(std::chrono::milliseconds time);
// Whether an element of the document flashes: it has the attribute data-flashing with the rate, 1 or 2 times a
// second.
bool HasFlash(const std::string& svg);

}  // namespace unit
