#include "unit/window/picture_rules.h"

#include <algorithm>

namespace unit {
namespace {

constexpr double DARKEST = 0.15;

// An element is dim in the second half of each period.
bool IsDim(std::chrono::milliseconds time, std::chrono::milliseconds period) {
  return time % period >= period / 2;
}

}  // namespace

place_t FitPicture(int windowWidth, int windowHeight) {
  const int width = std::max(1, std::min(windowWidth, windowHeight * PICTURE_WIDTH / PICTURE_HEIGHT));
  const int height = std::max(1, std::min(windowHeight, windowWidth * PICTURE_HEIGHT / PICTURE_WIDTH));
  return {(windowWidth - width) / 2, (windowHeight - height) / 2, width, height};
}

double PictureBrightness(const board_view_t& board) {
  if (!board.backlightEnabled || board.backlightPeriod == 0) return 1;
  const double part = std::min(1.0, double{1} * board.backlightDuty / board.backlightPeriod);
  return DARKEST + (1 - DARKEST) * part;
}

bool HasFlash(const std::string& svg) {
  return svg.find("data-flashing=") != std::string::npos;
}

dim_rates_t DimAt(std::chrono::milliseconds time) {
  return {.once = IsDim(time, 4 * FLASH_STEP), .twice = IsDim(time, 2 * FLASH_STEP)};
}

}  // namespace unit
