#include "src/dials/dials.h"

#include <chrono>
#include <cmath>
#include <limits>
#include <memory>
#include <string>

#include "src/compositing/drawing_objects.h"
#include "src/compositing/layer.h"
#include "src/core/operating_values.h"
#include "src/core/sharing.h"
#include "src/dials/picture_size.h"

namespace {

constexpr int LAYER_ID = 1;
// A compositor that was started again has an empty layer and tells nobody, so that the steady picture is drawn
// again from time to time.
constexpr std::chrono::seconds REDRAW_PERIOD{1};

PGN_dimensions_t boomSize, swingSize;

// What stands on the layer; guarded by dialsMutex. A value that is not known is NaN and has no picture.
struct drawn_t {
  double angle = std::numeric_limits<double>::quiet_NaN();
  double swing = std::numeric_limits<double>::quiet_NaN();
  bool any = false;      // the layer's last frame is not empty
  bool cleared = false;  // until the page is shown anew, or asked to be redrawn
  std::chrono::steady_clock::time_point at{};
};
drawn_t drawn;

struct turned_picture_t {
  const char* path;
  PGN_dimensions_t size;
  double pivotX, pivotY, offsetX, offsetY;
  double degrees;  // counter-clockwise
};

float Float(double value) {
  return static_cast<float>(value);
}

// The picture turns about its pivot; its top left corner is `offset` away from the pivot.
void DrawPicture(Compositing::Layer& layer, const turned_picture_t& picture) {
  Compositing::CompGraphImage image(picture.path);
  layer.glPushAndTranslate(Float(picture.pivotX), Float(picture.pivotY), 0.0F);
  layer.glRotate(Float(-picture.degrees), 0.0F, 0.0F, 1.0F);
  layer.glPushAndTranslate(Float(-picture.offsetX), Float(-picture.offsetY), 0.0F);
  image.DrawTexture(picture.size.width, picture.size.height);
  layer.glPop();
  layer.glPop();
}

double KnownAngle(const orvikData_t* data) {
  const double angle = data->angle;
  return IsAngleShown(angle) ? angle : std::numeric_limits<double>::quiet_NaN();
}

double KnownSwing(const orvikData_t* data) {
  const double swing = data->swing;
  return IsSwingShown(swing) ? swing : std::numeric_limits<double>::quiet_NaN();
}

bool IsSame(double a, double b) {
  return a == b || (std::isnan(a) && std::isnan(b));
}

void DrawDials(orvikData_t* data, Compositing::Layer& layer) {
  const drawing_geometry_t& d = data->drawing;
  drawn = {.angle = KnownAngle(data),
           .swing = KnownSwing(data),
           .any = true,
           .at = std::chrono::steady_clock::now()};
  if (!std::isnan(drawn.angle)) {
    DrawPicture(
        layer, {BOOM_PICTURE, boomSize, d.boomPivotX, d.boomPivotY, d.boomOffsetX, d.boomOffsetY, drawn.angle});
  }
  if (!std::isnan(drawn.swing)) {
    DrawPicture(layer, {SWING_PICTURE, swingSize, d.swingPivotX, d.swingPivotY, d.swingOffsetX, d.swingOffsetY,
                        -drawn.swing});
  }
  layer.draw();
}

}  // namespace

void ReadPictureSizes() {
  GetPGNSize(BOOM_PICTURE, &boomSize);
  GetPGNSize(SWING_PICTURE, &swingSize);
}

void InitLayer(orvikData_t* data) {
  const MutexGuard guard(data->dialsMutex);
  data->layers.push_back(std::make_unique<Compositing::Layer>(LAYER_ID, Compositing::LAYER_USER));
  data->layer = data->layers.back().get();
  data->layers.back()->setToCurrentLayer();
}

void ClearLayer(orvikData_t* data) {
  const MutexGuard guard(data->dialsMutex);
  drawn = {.cleared = true};
  if (Compositing::Layer* layer = data->layer; layer != nullptr) layer->draw();
}

void LeaveDials(orvikData_t* data) {
  const MutexGuard guard(data->dialsMutex);
  const bool any = drawn.any;
  drawn = {};
  if (Compositing::Layer* layer = data->layer; any && layer != nullptr) layer->draw();
}

void RefreshPageDials(orvikData_t* data) {
  const MutexGuard guard(data->dialsMutex);
  if (Compositing::Layer* layer = data->layer; layer != nullptr) DrawDials(data, *layer);
}

void UpdateDials(orvikData_t* data) {
  const MutexGuard guard(data->dialsMutex);
  const bool same = IsSame(KnownAngle(data), drawn.angle) && IsSame(KnownSwing(data), drawn.swing);
  const bool recent = std::chrono::steady_clock::now() - drawn.at < REDRAW_PERIOD;
  if (drawn.cleared || (drawn.any && same && recent)) return;
  if (Compositing::Layer* layer = data->layer; layer != nullptr) DrawDials(data, *layer);
}
