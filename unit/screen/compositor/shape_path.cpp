#include "unit/screen/compositor/shape_path.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "src/compositing/compositor_messages.h"
#include "unit/screen/design/element_view.h"

namespace unit {
namespace {

using namespace Compositing;
using attributes_t = std::vector<std::pair<std::string, std::string>>;

std::string Pixels(double value) {
  return FormatPixels(value);
}

std::string Point(double radius, double degrees) {
  const double radians = degrees * std::numbers::pi / 180;
  // Angles run counter-clockwise; the y axis of the screen points down.
  return Pixels(radius * std::cos(radians)) + " " + Pixels(-radius * std::sin(radians));
}

// A sweep of a full turn or more is limited to just below one: an arc that ends at its start is not drawn.
std::string ArcPath(double radius, double start, double sweep, bool sector) {
  const double limited = std::clamp(sweep, -359.99, 359.99);
  const std::string arc = "A" + Pixels(radius) + " " + Pixels(radius) + " 0 " +
                          (std::abs(limited) > 180 ? "1 " : "0 ") + (limited > 0 ? "0 " : "1 ") +
                          Point(radius, start + limited);
  const std::string begin = Point(radius, start);
  return sector ? "M0 0 L" + begin + " " + arc + " Z" : "M" + begin + " " + arc;
}

attributes_t Outline(const std::array<float, 4>& color) {
  return {{"style", "fill:none;stroke:" + FormatColor(color) + ";stroke-width:1"}};
}

attributes_t Fill(const std::array<float, 4>& color) {
  return {{"style", "fill:" + FormatColor(color)}};
}

drawn_element_t Arc(std::span<const double> a, bool sector, attributes_t paint) {
  paint.emplace_back("d", ArcPath(a[0], a[1], a[2], sector));
  return {"path", std::move(paint), {}, {}};
}

drawn_element_t Circle(double radius, attributes_t paint) {
  paint.emplace_back("r", Pixels(radius));
  return {"circle", std::move(paint), {}, {}};
}

// A gradient is used by its id. The id is made of radius and colours, so that two of the same id look the same.
drawn_element_t Shade(double radius, std::span<const double> colors, drawn_element_t shape) {
  std::array<std::string, 2> stops;
  std::string id = "shade-" + Pixels(radius);
  for (std::size_t i = 0; i < stops.size(); ++i) {
    color_t color{};
    for (std::size_t part = 0; part < color.size(); ++part) {
      color.at(part) = static_cast<float>(colors[i * 4 + part]);
      id += "-" + Pixels(std::round(std::clamp(colors[i * 4 + part], 0.0, 1.0) * 255));
    }
    stops.at(i) = "stop-color:" + FormatColor(color);
  }
  std::replace(id.begin(), id.end(), '.', '_');
  drawn_element_t gradient{
      "radialGradient",
      {{"id", id}, {"gradientUnits", "userSpaceOnUse"}, {"cx", "0"}, {"cy", "0"}, {"r", Pixels(radius)}},
      {},
      {{"stop", {{"offset", "0"}, {"style", stops[0]}}, {}, {}},
       {"stop", {{"offset", "1"}, {"style", stops[1]}}, {}, {}}}};
  shape.attributes.emplace_back("style", "fill:url(#" + id + ")");
  return {"g", {}, {}, {std::move(gradient), std::move(shape)}};
}

drawn_element_t Line(std::span<const double> a, const std::array<float, 4>& color) {
  const double width = std::max(a[4], 0.0);
  std::string style = "stroke:" + FormatColor(color) + ";stroke-width:" + Pixels(width);
  if (a[5] == 1) style += ";stroke-dasharray:" + Pixels(4 * width) + " " + Pixels(3 * width);
  if (a[5] == 2) style += ";stroke-dasharray:" + Pixels(width) + " " + Pixels(2 * width);
  return {"line",
          {{"style", style},
           {"x1", Pixels(a[0])},
           {"y1", Pixels(a[1])},
           {"x2", Pixels(a[2])},
           {"y2", Pixels(a[3])}},
          {},
          {}};
}

std::size_t ArgumentsOf(std::uint32_t shape) {
  constexpr std::array<std::size_t, 8> COUNTS{0, 3, 3, 11, 1, 1, 9, 6};
  return shape < COUNTS.size() ? COUNTS.at(shape) : 0;
}

}  // namespace

std::optional<drawn_element_t> MakeShape(std::uint32_t shape, std::span<const double> a,
                                         const std::array<float, 4>& color) {
  const std::size_t needed = ArgumentsOf(shape);
  if (needed == 0 || a.size() < needed || (shape != SHAPE_LINE && a[0] < 0)) return {};
  switch (shape) {
    case SHAPE_ARC_OUTLINE:
      return Arc(a, false, Outline(color));
    case SHAPE_ARC_FILL:
      return Arc(a, true, Fill(color));
    case SHAPE_ARC_GRADIENT:
      return Shade(a[0], a.subspan(3), Arc(a, true, {}));
    case SHAPE_CIRCLE_OUTLINE:
      return Circle(a[0], Outline(color));
    case SHAPE_CIRCLE_FILL:
      return Circle(a[0], Fill(color));
    case SHAPE_CIRCLE_GRADIENT:
      return Shade(a[0], a.subspan(1), Circle(a[0], {}));
    default:
      return Line(a, color);
  }
}

drawn_element_t MakePicture(const stored_picture_t& picture, int width, int height, bool centred) {
  const double w = width > 0 ? width : picture.width;
  const double h = height > 0 ? height : picture.height;
  const double x = centred ? -w / 2 : 0;
  const double y = centred ? -h / 2 : 0;
  const std::string transform = "translate(" + Pixels(x) + " " + Pixels(y) + ") scale(" +
                                FormatPixels(w / picture.width, 4) + " " + FormatPixels(h / picture.height, 4) +
                                ")";
  return {"use", {{"href", "#" + picture.id}, {"transform", transform}}, {}, {}};
}

drawn_element_t MakeVideoPlace(const std::array<double, 4>& box) {
  const auto& [x, y, width, height] = box;
  drawn_element_t frame{"rect",
                        {{"x", Pixels(x)},
                         {"y", Pixels(y)},
                         {"width", Pixels(std::max(width, 0.0))},
                         {"height", Pixels(std::max(height, 0.0))},
                         {"style", "fill:#0a0e13;stroke:#5c6f80"}},
                        {},
                        {}};
  drawn_element_t text{"text",
                       {{"x", Pixels(x + width / 2)},
                        {"y", Pixels(y + height / 2)},
                        {"text-anchor", "middle"},
                        {"font-size", "14"}},
                       "NO VIDEO",
                       {}};
  return {"g", {}, {}, {std::move(frame), std::move(text)}};
}

}  // namespace unit
