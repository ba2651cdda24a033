#include "src/compositing/drawing_objects.h"

#include <array>
#include <iostream>
#include <utility>
#include <vector>

#include "platform/byte_order.h"

#include "src/compositing/layer.h"

namespace Compositing {

namespace {

constexpr std::size_t WORD = sizeof(std::uint32_t);
constexpr std::size_t MOST_SHAPE_ARGUMENTS = 11;  // of an arc with a gradient

}  // namespace

DrawingObject::DrawingObject(const char* className) : layer_(Layer::GetCurrentLayer()) {
  if (layer_ != nullptr) {
    objectId_ = layer_->addDrawingObj(this);
  } else {
    std::cout << std::string(className) + ": No current layer - object not added\n" << std::flush;
  }
}

DrawingObject::~DrawingObject() {
  if (layer_ != nullptr) layer_->deleteDrawingObj(objectId_);
}

void DrawingObject::DrawShape(shape_t shape, std::span<const float> arguments) const {
  if (layer_ == nullptr) return;
  std::array<std::uint8_t, MOST_SHAPE_ARGUMENTS * WORD> bytes{};
  for (std::size_t i = 0; i < arguments.size(); ++i) platform::StoreLeFloat(bytes, i * WORD, arguments[i]);
  layer_->addCommandWithParameters(CMD_SHAPE, static_cast<int>(shape), 0,
                                   static_cast<int>(arguments.size_bytes()), bytes.data(), nullptr);
}

// --- Arc

CompGraphArc::CompGraphArc(float radius, float startAngle, float sweep)
    : DrawingObject("CompGraphArc"), radius_(radius), startAngle_(startAngle), sweep_(sweep) {}

void CompGraphArc::outline() {
  DrawShape(SHAPE_ARC_OUTLINE, std::array{radius_, startAngle_, sweep_});
}

void CompGraphArc::fill() {
  DrawShape(SHAPE_ARC_FILL, std::array{radius_, startAngle_, sweep_});
}

void CompGraphArc::fillGradient(Color4 inner, Color4 outer) {
  DrawShape(SHAPE_ARC_GRADIENT, std::array{radius_, startAngle_, sweep_, inner.r, inner.g, inner.b, inner.a,
                                           outer.r, outer.g, outer.b, outer.a});
}

// --- Circle

CompGraphCircle::CompGraphCircle(float radius) : DrawingObject("CompGraphCircle"), radius_(radius) {}

void CompGraphCircle::outline() {
  DrawShape(SHAPE_CIRCLE_OUTLINE, std::array{radius_});
}

void CompGraphCircle::fill() {
  DrawShape(SHAPE_CIRCLE_FILL, std::array{radius_});
}

void CompGraphCircle::fillGradient(Color4 inner, Color4 outer) {
  DrawShape(SHAPE_CIRCLE_GRADIENT,
            std::array{radius_, inner.r, inner.g, inner.b, inner.a, outer.r, outer.g, outer.b, outer.a});
}

// --- Image

CompGraphImage::CompGraphImage(std::string fileName)
    : DrawingObject("CompGraphImage"), fileNames_{std::move(fileName)} {}

void CompGraphImage::DrawTexture(int width, int height) {
  Draw(IMAGE_TOP_LEFT, width, height);
}

void CompGraphImage::DrawTextureCentered(int width, int height) {
  Draw(IMAGE_CENTERED, width, height);
}

void CompGraphImage::Draw(image_t placement, int width, int height) {
  if (OwnLayer() == nullptr) return;
  std::array<std::uint8_t, 2 * WORD> size{};
  platform::StoreLe32(size, 0, static_cast<std::uint32_t>(width));
  platform::StoreLe32(size, WORD, static_cast<std::uint32_t>(height));
  OwnLayer()->addCommandWithParameters(CMD_IMAGE, static_cast<int>(placement), ObjectId(), size.size(),
                                       size.data(), &fileNames_);
}

// --- Line

CompGraphLine::CompGraphLine(float x1, float y1, float x2, float y2, float width, int pattern)
    : DrawingObject("CompGraphLine"), x1_(x1), y1_(y1), x2_(x2), y2_(y2), width_(width), pattern_(pattern) {}

void CompGraphLine::draw() {
  DrawShape(SHAPE_LINE, std::array{x1_, y1_, x2_, y2_, width_, static_cast<float>(pattern_)});
}

}  // namespace Compositing
