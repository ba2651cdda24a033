// Shapes and pictures that draw themselves on the layer that was the current one when they were created.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "src/compositing/compositor_messages.h"

namespace Compositing {

class Layer;

// Colour components from 0 to 1.
struct Color4 {
  float r = 0, g = 0, b = 0, a = 1;
};

// An object belongs to its layer until one of the two is destroyed; without a layer it draws nothing. Not for
// use by two threads at the same time; two objects of one layer may draw at the same time.
class DrawingObject {
 public:
  virtual ~DrawingObject();
  DrawingObject(const DrawingObject&) = delete;
  DrawingObject& operator=(const DrawingObject&) = delete;

  // Does nothing: the compositor sends no commands to its clients.
  virtual void processCommand(char*) {}
  bool IsAttached() const { return layer_ != nullptr; }

 protected:
  // Joins the current layer. Prints "<className>: No current layer - object not added" when there is none.
  explicit DrawingObject(const char* className);

  void DrawShape(shape_t shape, std::span<const float> arguments) const;
  Layer* OwnLayer() const { return layer_; }
  int ObjectId() const { return objectId_; }

 private:
  friend class Layer;  // detaches the objects that outlive it
  Layer* layer_ = nullptr;
  int objectId_ = 0;
};

// Centred on the origin. Lengths are pixels, angles degrees counter-clockwise from three o'clock.
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

// A picture file; `fileName` is its absolute path on the unit.
class CompGraphImage : public DrawingObject {
 public:
  explicit CompGraphImage(std::string fileName);
  // Draw the picture with its top left corner, or its centre, at the origin. Size 0 by 0 is the picture's own
  // size.
  void DrawTexture(int width, int height);
  void DrawTextureCentered(int width, int height);

 private:
  void Draw(image_t placement, int width, int height);
  std::vector<std::string> fileNames_;  // one name; Layer::addCommandWithParameters takes a vector
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
