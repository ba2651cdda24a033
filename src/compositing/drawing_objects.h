// Shapes and pictures that draw themselves on the layer that was current when they were made.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "src/compositing/compositor_messages.h"

namespace Compositing {

class Layer;

// Parts 0 to 1.
struct Color4 {
  float r = 0, g = 0, b = 0, a = 1;
};

// An object belongs to its layer until either ends; without a layer it draws nothing. It is made, used and
// destroyed by threads that do so one after another; two objects of one layer may draw at once.
class DrawingObject {
 public:
  virtual ~DrawingObject();
  DrawingObject(const DrawingObject&) = delete;
  DrawingObject& operator=(const DrawingObject&) = delete;

  // Nothing comes back from the compositor.
  virtual void processCommand(char*) {}
  bool IsAttached() const { return layer_ != nullptr; }

 protected:
  // Joins the current layer; prints "<className>: No current layer - object not added" where there is none.
  explicit DrawingObject(const char* className);

  void DrawShape(shape_t shape, std::span<const float> arguments) const;
  Layer* OwnLayer() const { return layer_; }
  int ObjectId() const { return objectId_; }

 private:
  friend class Layer;  // detaches the objects that outlive it
  Layer* layer_ = nullptr;
  int objectId_ = 0;
};

// Around the origin; lengths in pixels, angles in degrees counter-clockwise from three o'clock.
class CompGraphArc : public DrawingObject {
 public:
  CompGraphArc(float radius, float startAngle, float sweep);
  void outline();
  void fill();
  void fillGradient(Color4 inner, Color4 outer);

 private:
  float radius_, startAngle_, sweep_;
};

class CompGraphCircle : public DrawingObject {
 public:
  explicit CompGraphCircle(float radius);
  void outline();
  void fill();
  void fillGradient(Color4 inner, Color4 outer);

 private:
  float radius_;
};

// A picture file of the unit, by its absolute path there.
class CompGraphImage : public DrawingObject {
 public:
  explicit CompGraphImage(std::string fileName);
  // Draws in the given size, in the picture's own where it is 0; the origin is its top left corner or centre.
  void DrawTexture(int width, int height);
  void DrawTextureCentered(int width, int height);

 private:
  void Draw(image_t placement, int width, int height);
  std::vector<std::string> fileNames_;  // one, in the form that the layer queues strings in
};

class CompGraphLine : public DrawingObject {
 public:
  // `pattern`: 0 solid, 1 dashed, 2 dotted.
  CompGraphLine(float x1, float y1, float x2, float y2, float width, int pattern);
  void draw();

 private:
  float x1_, y1_, x2_, y2_, width_;
  int pattern_;
};

}  // namespace Compositing
