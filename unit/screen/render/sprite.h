// The drawn pixels of a page's elements, each in a box of its own.
#pragma once

#include <cstddef>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "unit/screen/render/drawing_library.h"

namespace unit {

struct sprite_t {
  surface_handle_t surface;     // with alpha; null: the element draws nothing
  cairo_rectangle_int_t box{};  // on the picture, pixels

  std::size_t Bytes() const;
};

using shared_sprite_t = std::shared_ptr<const sprite_t>;

// Draws the elements with these ids, each alone, for a picture of that size. Empty when their sprites would
// have more than `mostBytes` together. Throws std::runtime_error when the document cannot be drawn.
std::vector<shared_sprite_t> DrawSprites(const std::string& svg, const std::vector<std::string>& ids,
                                         std::pair<int, int> size, std::size_t mostBytes);

// The sprites of elements that were drawn before, by what they were drawn from. When there is no room for
// another sprite, the least recently used ones are dropped. Not thread-safe.
class SpriteCache {
 public:
  // The number of all that the element's appearance depends on beside its text, and the text.
  using key_t = std::pair<std::size_t, std::string>;

  explicit SpriteCache(std::size_t mostBytes) : mostBytes_(mostBytes) {}

  // Null when there is no such sprite.
  shared_sprite_t Find(const key_t& key);
  void Add(key_t key, shared_sprite_t sprite);
  void Clear();
  std::size_t Bytes() const { return bytes_; }

 private:
  struct cached_sprite_t {
    const key_t* key;  // of the entry of places_
    shared_sprite_t sprite;
    std::size_t bytes;
  };
  using order_t = std::list<cached_sprite_t>;  // the most recently used first

  void DropOldest();

  const std::size_t mostBytes_;
  std::size_t bytes_ = 0;
  order_t order_;
  std::map<key_t, order_t::iterator> places_;
};

}  // namespace unit
