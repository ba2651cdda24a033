#include "unit/screen/render/renderer.h"

#include "unit/screen/design/design.h"
#include "unit/screen/render/drawing_library.h"

namespace unit {
namespace {

cairo_status_t AppendPng(void* closure, const unsigned char* data, unsigned length) {
  static_cast<std::string*>(closure)->append(data, data + length);
  return CAIRO_STATUS_SUCCESS;
}

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

std::string RenderPng(const std::string& svg, double scale) {
  [[maybe_unused]] const LibraryScope scope;
  const surface_handle_t surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(SCREEN_WIDTH * scale),
                                                     static_cast<int>(SCREEN_HEIGHT * scale)));
  Draw(svg, {}, *surface);
  std::string png;
  if (cairo_surface_write_to_png_stream(surface.get(), AppendPng, &png) != CAIRO_STATUS_SUCCESS)
    ThrowDrawError(nullptr);
  return png;
}

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
  std::vector<std::uint32_t> copy = pixels.values;  // cairo wants to be able to write
  const surface_handle_t surface(cairo_image_surface_create_for_data(reinterpret_cast<unsigned char*>(copy.data()),
                                                              CAIRO_FORMAT_RGB24, pixels.width, pixels.height,
                                                              pixels.width * 4));
  std::string png;
  if (cairo_surface_write_to_png_stream(surface.get(), AppendPng, &png) != CAIRO_STATUS_SUCCESS)
    ThrowDrawError(nullptr);
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
