#include "unit/screen/render/renderer.h"

#include <stdexcept>

#include <png.h>

#include "unit/screen/design/design.h"
#include "unit/screen/render/drawing_library.h"

namespace unit {
namespace {

// Draws the document over the whole surface.
void Draw(const std::string& svg, const std::string& style, cairo_surface_t& surface) {
  GError* error = nullptr;
  const svg_handle_t handle = ReadSvg(svg);
  const std::basic_string<guint8> css(style.begin(), style.end());
  if (rsvg_handle_set_stylesheet(handle.get(), css.data(), css.size(), &error) == FALSE) ThrowDrawError(error);
  const context_handle_t context(cairo_create(&surface));
  const RsvgRectangle viewport{0, 0, static_cast<double>(cairo_image_surface_get_width(&surface)),
                               static_cast<double>(cairo_image_surface_get_height(&surface))};
  if (rsvg_handle_render_document(handle.get(), context.get(), &viewport, &error) == FALSE)
    ThrowDrawError(error);
  cairo_surface_flush(&surface);
}

}  // namespace

pixels_t RenderPixels(const std::string& svg, int width, int height, const std::string& style) {
  [[maybe_unused]] const LibraryScope scope;
  pixels_t pixels{width, height, {}};
  pixels.values.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  // pixels_t has cairo's format: 32 bits a pixel in the machine's byte order, rows without a gap.
  const surface_handle_t surface(cairo_image_surface_create_for_data(
      reinterpret_cast<unsigned char*>(pixels.values.data()), CAIRO_FORMAT_RGB24, width, height, width * 4));
  Draw(svg, style, *surface);
  return pixels;
}

std::string WritePng(const pixels_t& pixels) {
  std::vector<std::uint8_t> colors(pixels.values.size() * 3);
  for (std::size_t i = 0; i < pixels.values.size(); ++i) {
    colors[3 * i] = static_cast<std::uint8_t>(pixels.values[i] >> 16U);
    colors[3 * i + 1] = static_cast<std::uint8_t>(pixels.values[i] >> 8U);
    colors[3 * i + 2] = static_cast<std::uint8_t>(pixels.values[i]);
  }
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.width = static_cast<png_uint_32>(pixels.width);
  image.height = static_cast<png_uint_32>(pixels.height);
  image.format = PNG_FORMAT_RGB;
  image.flags = PNG_IMAGE_FLAG_FAST;
  png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
  std::string png(size, '\0');
  if (png_image_write_to_memory(&image, png.data(), &size, 0, colors.data(), 0, nullptr) == 0)
    throw std::runtime_error(std::string("cannot write the picture: ") + image.message);
  png.resize(size);
  return png;
}

struct SvgGeometry::state_t {
  svg_handle_t handle;
};

SvgGeometry::SvgGeometry(const std::string& svg) : state_(std::make_unique<state_t>()) {
  state_->handle = ReadSvg(svg);
}
SvgGeometry::~SvgGeometry() = default;

std::optional<ink_box_t> SvgGeometry::Find(const std::string& id) const {
  const RsvgRectangle viewport{0, 0, SCREEN_WIDTH, SCREEN_HEIGHT};
  RsvgRectangle ink{};
  const std::string name = "#" + id;
  const bool found = rsvg_handle_get_geometry_for_layer(state_->handle.get(), name.c_str(), &viewport, &ink,
                                                        nullptr, nullptr) == TRUE;
  if (!found || ink.width <= 0 || ink.height <= 0) return std::nullopt;
  return ink_box_t{ink.x, ink.y, ink.width, ink.height};
}

}  // namespace unit
