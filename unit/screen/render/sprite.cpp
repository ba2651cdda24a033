#include "unit/screen/render/sprite.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <stdexcept>

namespace unit {
namespace {

constexpr std::size_t PIXEL_BYTES = 4;
constexpr std::size_t ENTRY_BYTES = 256;  // of a cached sprite beside its pixels and its text, about

// Draws one element as a list of operations: its box is known from the list, and a text is laid out only once.
surface_handle_t Record(RsvgHandle& document, const std::string& id, const RsvgRectangle& viewport) {
  const cairo_rectangle_t bounds{0, 0, viewport.width, viewport.height};
  surface_handle_t recording(cairo_recording_surface_create(CAIRO_CONTENT_COLOR_ALPHA, &bounds));
  const context_handle_t context(cairo_create(recording.get()));
  const std::string selector = "#" + id;
  GError* error = nullptr;
  if (rsvg_handle_render_layer(&document, context.get(), selector.c_str(), &viewport, &error) == FALSE)
    ThrowDrawError(error);
  return recording;
}

// The pixels that the recorded operations touch, and one more on each side.
cairo_rectangle_int_t BoxOf(cairo_surface_t& recording, const RsvgRectangle& viewport) {
  double x = 0, y = 0, width = 0, height = 0;
  cairo_recording_surface_ink_extents(&recording, &x, &y, &width, &height);
  if (width <= 0 || height <= 0) return {};
  const double left = std::max(0.0, std::floor(x) - 1), top = std::max(0.0, std::floor(y) - 1);
  const double right = std::min(viewport.width, std::ceil(x + width) + 1);
  const double bottom = std::min(viewport.height, std::ceil(y + height) + 1);
  if (right <= left || bottom <= top) return {};
  return {static_cast<int>(left), static_cast<int>(top), static_cast<int>(right - left),
          static_cast<int>(bottom - top)};
}

std::size_t BytesOf(const cairo_rectangle_int_t& box) {
  return static_cast<std::size_t>(box.width) * static_cast<std::size_t>(box.height) * PIXEL_BYTES;
}

surface_handle_t DrawPixels(cairo_surface_t& recording, const cairo_rectangle_int_t& box) {
  surface_handle_t surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, box.width, box.height));
  const context_handle_t context(cairo_create(surface.get()));
  cairo_set_source_surface(context.get(), &recording, -box.x, -box.y);
  cairo_paint(context.get());
  if (cairo_status(context.get()) != CAIRO_STATUS_SUCCESS) ThrowDrawError(nullptr);
  return surface;
}

}  // namespace

std::size_t sprite_t::Bytes() const {
  return BytesOf(box);
}

std::vector<shared_sprite_t> DrawSprites(const std::string& svg, const std::vector<std::string>& ids,
                                         std::pair<int, int> size, std::size_t mostBytes) {
  [[maybe_unused]] const LibraryScope scope;
  const svg_handle_t document = ReadSvg(svg);
  const RsvgRectangle viewport{0, 0, static_cast<double>(size.first), static_cast<double>(size.second)};
  std::vector<shared_sprite_t> sprites;
  std::size_t bytes = 0;
  for (const std::string& id : ids) {
    const surface_handle_t recording = Record(*document, id, viewport);
    auto sprite = std::make_shared<sprite_t>();
    sprite->box = BoxOf(*recording, viewport);
    bytes += sprite->Bytes();
    if (bytes > mostBytes) return {};
    if (sprite->Bytes() > 0) sprite->surface = DrawPixels(*recording, sprite->box);
    sprites.push_back(std::move(sprite));
  }
  return sprites;
}

shared_sprite_t SpriteCache::Find(const key_t& key) {
  const auto found = places_.find(key);
  if (found == places_.end()) return nullptr;
  order_.splice(order_.begin(), order_, found->second);
  return found->second->sprite;
}

void SpriteCache::Add(key_t key, shared_sprite_t sprite) {
  const std::size_t bytes = sprite->Bytes() + key.second.size() + ENTRY_BYTES;
  const auto [place, isNew] = places_.try_emplace(std::move(key));
  if (!isNew) return;
  order_.push_front({&place->first, std::move(sprite), bytes});
  place->second = order_.begin();
  bytes_ += bytes;
  while (bytes_ > mostBytes_) DropOldest();
}

void SpriteCache::DropOldest() {
  bytes_ -= order_.back().bytes;
  places_.erase(places_.find(*order_.back().key));
  order_.pop_back();
}

void SpriteCache::Clear() {
  places_.clear();
  order_.clear();
  bytes_ = 0;
}

}  // namespace unit
