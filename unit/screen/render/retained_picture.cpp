#include "unit/screen/render/retained_picture.h"

#include <algorithm>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "unit/screen/render/drawing_library.h"
#include "unit/screen/render/sprite.h"

namespace unit {
namespace {

constexpr std::size_t PIXEL_BYTES = 4;

struct shown_item_t {
  SpriteCache::key_t key;
  shared_sprite_t sprite;  // null: has to be drawn
};

using shown_items_t = std::vector<shown_item_t>;

bool IsBlank(const shared_sprite_t& sprite) {
  return sprite->surface == nullptr;
}

void AddBox(cairo_region_t& region, const shared_sprite_t& sprite) {
  if (!IsBlank(sprite)) cairo_region_union_rectangle(&region, &sprite->box);
}

// What must be put together again when `fresh` takes the place of `old`.
region_handle_t FindChange(const shown_items_t& old, const shown_items_t& fresh, const pixels_t& picture) {
  region_handle_t region(cairo_region_create());
  if (old.empty() || old.size() != fresh.size()) {
    const cairo_rectangle_int_t all{0, 0, picture.width, picture.height};
    cairo_region_union_rectangle(region.get(), &all);
    return region;
  }
  for (std::size_t i = 0; i < old.size(); ++i) {
    if (old[i].sprite == fresh[i].sprite) continue;
    AddBox(*region, old[i].sprite);
    AddBox(*region, fresh[i].sprite);
  }
  return region;
}

std::vector<cairo_rectangle_int_t> RectanglesOf(const cairo_region_t& region) {
  std::vector<cairo_rectangle_int_t> rectangles(static_cast<std::size_t>(cairo_region_num_rectangles(&region)));
  for (std::size_t i = 0; i < rectangles.size(); ++i) {
    cairo_region_get_rectangle(&region, static_cast<int>(i), &rectangles[i]);
  }
  return rectangles;
}

std::uint64_t LimitDrawingTo(cairo_t& context, const cairo_region_t& region) {
  std::uint64_t pixels = 0;
  for (const cairo_rectangle_int_t& part : RectanglesOf(region)) {
    cairo_rectangle(&context, part.x, part.y, part.width, part.height);
    pixels += static_cast<std::uint64_t>(part.width) * static_cast<std::uint64_t>(part.height);
  }
  cairo_clip(&context);
  return pixels;
}

void LaySprites(cairo_t& context, const cairo_region_t& region, const shown_items_t& items) {
  for (const shown_item_t& item : items) {
    if (IsBlank(item.sprite)) continue;
    const cairo_rectangle_int_t& box = item.sprite->box;
    if (cairo_region_contains_rectangle(&region, &box) == CAIRO_REGION_OVERLAP_OUT) continue;
    cairo_set_source_surface(&context, item.sprite->surface.get(), box.x, box.y);
    cairo_paint(&context);
  }
}

std::vector<const document_item_t*> AllOf(const document_items_t& document) {
  std::vector<const document_item_t*> items;
  for (const document_item_t& item : document.items) {
    if (!item.hidden) items.push_back(&item);
  }
  return items;
}

}  // namespace

struct RetainedPicture::state_t {
  bool Update(const std::string& svg, std::pair<int, int> size, dim_rates_t dim);
  bool UpdateWhole(std::string svg);
  std::size_t NumberContext(const std::string& context);
  shared_sprite_t FindSprite(const SpriteCache::key_t& key);
  shown_items_t FindItems(const document_items_t& document);
  bool DrawMissing(const document_items_t& document, shown_items_t& items);
  void Compose(const cairo_region_t& region);
  void SetSize(std::pair<int, int> size);
  std::size_t MostSpriteBytes() const { return MOST_LAYERS * PIXEL_BYTES * pixels.values.size(); }

  pixels_t pixels;
  surface_handle_t surface;                                    // draws into `pixels`
  const shared_sprite_t blank = std::make_shared<sprite_t>();  // of all that is hidden
  shown_items_t shown;                                         // what `pixels` shows; empty: something else
  std::string page;                                            // the page that `shown` is of
  std::string whole;  // the document that `pixels` shows, where it was drawn whole
  SpriteCache pages{MOST_PAGE_CACHE}, values{MOST_VALUE_CACHE};
  std::map<std::string, std::size_t> contexts;  // all but their texts that sprites depend on, with a number
  std::size_t nextContext = 0;
  picture_counters_t counters;
};

void RetainedPicture::state_t::SetSize(std::pair<int, int> size) {
  const auto [width, height] = size;
  if (surface && pixels.width == width && pixels.height == height) return;
  shown.clear();
  whole.clear();
  pixels = {width, height, {}};
  pixels.values.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  // pixels_t has cairo's format: 32 bits a pixel in the machine's byte order, rows without a gap.
  surface.reset(cairo_image_surface_create_for_data(reinterpret_cast<unsigned char*>(pixels.values.data()),
                                                    CAIRO_FORMAT_RGB24, width, height, width * 4));
}

// A number is not used again, so that no item of an earlier context is taken for one of a later.
std::size_t RetainedPicture::state_t::NumberContext(const std::string& context) {
  if (const auto known = contexts.find(context); known != contexts.end()) return known->second;
  if (contexts.size() >= MOST_CONTEXTS) {
    contexts.clear();
    pages.Clear();
    values.Clear();
  }
  return contexts[context] = nextContext++;
}

shared_sprite_t RetainedPicture::state_t::FindSprite(const SpriteCache::key_t& key) {
  shared_sprite_t sprite = values.Find(key);
  return sprite ? sprite : pages.Find(key);
}

// The items with the sprites that are known.
shown_items_t RetainedPicture::state_t::FindItems(const document_items_t& document) {
  const std::string sheet =
      std::to_string(pixels.width) + " " + std::to_string(pixels.height) + document.start + document.styles;
  const std::size_t context = NumberContext(sheet);
  std::optional<std::size_t> withDefinitions;
  shown_items_t items(document.items.size());
  for (std::size_t i = 0; i < items.size(); ++i) {
    const document_item_t& item = document.items[i];
    if (item.hidden) {
      items[i].sprite = blank;
      continue;
    }
    if (item.refers && !withDefinitions) withDefinitions = NumberContext(sheet + document.definitions);
    items[i].key = {item.refers ? *withDefinitions : context, item.text};
    const bool stays = i < shown.size() && shown[i].key == items[i].key;
    items[i].sprite = stays ? shown[i].sprite : FindSprite(items[i].key);
  }
  return items;
}

// False when there are too many sprites.
bool RetainedPicture::state_t::DrawMissing(const document_items_t& document, shown_items_t& items) {
  std::vector<shown_item_t*> missing;
  std::vector<const document_item_t*> parts;
  std::vector<std::string> ids;
  std::size_t bytes = 0;
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (items[i].sprite) {
      bytes += items[i].sprite->Bytes();
      continue;
    }
    missing.push_back(&items[i]);
    parts.push_back(&document.items[i]);
    ids.push_back(ItemId(document.items[i], ids.size()));
  }
  if (bytes > MostSpriteBytes()) return false;
  if (missing.empty()) return true;
  const auto sprites =
      DrawSprites(JoinItems(document, parts), ids, {pixels.width, pixels.height}, MostSpriteBytes() - bytes);
  if (sprites.empty()) return false;
  counters.sprites += sprites.size();
  const bool isPage = document.page != page || sprites.size() >= LEAST_OF_PAGE;
  SpriteCache& cache = isPage ? pages : values;
  for (std::size_t i = 0; i < sprites.size(); ++i) {
    missing[i]->sprite = sprites[i];
    cache.Add(missing[i]->key, sprites[i]);
  }
  return true;
}

void RetainedPicture::state_t::Compose(const cairo_region_t& region) {
  [[maybe_unused]] const LibraryScope scope;
  const context_handle_t context(cairo_create(surface.get()));
  counters.pixels += LimitDrawingTo(*context, region);
  cairo_set_operator(context.get(), CAIRO_OPERATOR_SOURCE);
  cairo_set_source_rgb(context.get(), 0, 0, 0);
  cairo_paint(context.get());
  cairo_set_operator(context.get(), CAIRO_OPERATOR_OVER);
  LaySprites(*context, region, shown);
  cairo_surface_flush(surface.get());
  if (cairo_status(context.get()) == CAIRO_STATUS_SUCCESS) return;
  shown.clear();
  ThrowDrawError(nullptr);
}

bool RetainedPicture::state_t::UpdateWhole(std::string svg) {
  if (svg == whole) return false;
  const pixels_t drawn = RenderPixels(svg, pixels.width, pixels.height);
  std::copy(drawn.values.begin(), drawn.values.end(), pixels.values.begin());
  cairo_surface_mark_dirty(surface.get());
  whole = std::move(svg);
  shown.clear();
  ++counters.wholes;
  return true;
}

bool RetainedPicture::state_t::Update(const std::string& svg, std::pair<int, int> size, dim_rates_t dim) {
  const document_items_t document = DivideDocument(svg, dim);
  SetSize(size);
  if (!document.divisible) return UpdateWhole(document.whole);
  shown_items_t items = FindItems(document);
  if (!DrawMissing(document, items)) return UpdateWhole(JoinItems(document, AllOf(document)));
  const region_handle_t change = FindChange(shown, items, pixels);
  shown = std::move(items);
  page = document.page;
  whole.clear();
  if (cairo_region_is_empty(change.get()) != 0) return false;
  Compose(*change);
  return true;
}

RetainedPicture::RetainedPicture() : state_(std::make_unique<state_t>()) {}
RetainedPicture::~RetainedPicture() = default;

bool RetainedPicture::Update(const std::string& svg, int width, int height, dim_rates_t dim) {
  return state_->Update(svg, {width, height}, dim);
}

const pixels_t& RetainedPicture::Pixels() const {
  return state_->pixels;
}

picture_counters_t RetainedPicture::Counters() const {
  picture_counters_t counters = state_->counters;
  counters.cacheBytes = state_->pages.Bytes() + state_->values.Bytes();
  return counters;
}

}  // namespace unit
