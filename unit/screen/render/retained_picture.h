// The picture of the screen, of which only what changed is drawn again.
//
// The document of the page is divided into its items (document_items.h). Each item has a sprite: its pixels in
// a box of its own, drawn by librsvg once and kept. The picture is the sprites laid over each other in the
// order of the document. When items change, only the boxes of their old and new sprites are put together again,
// from all sprites that reach into them. An element thus stays in front of or behind its neighbours, and
// nothing of its former state is left.
//
// The sprites of former pages are kept too, and apart from them those of former values, so that a crane that
// works on one page does not push out the others. At the bound of either, its least recently used sprites are
// dropped and drawn again when they come back. A document that cannot be divided (document_items.h), and
// one whose sprites would have more than MOST_LAYERS times the bytes of the picture, is drawn whole by librsvg
// at each change.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "unit/screen/render/document_items.h"
#include "unit/screen/render/renderer.h"

namespace unit {

struct picture_counters_t {
  std::uint64_t sprites = 0;   // drawn by librsvg; each is one item
  std::uint64_t pixels = 0;    // put together again from sprites
  std::uint64_t wholes = 0;    // documents drawn whole
  std::size_t cacheBytes = 0;  // at present
};

// Not thread-safe; the thread that draws owns it.
class RetainedPicture {
 public:
  static constexpr std::size_t MOST_PAGE_CACHE = 40U << 20U;  // bytes
  static constexpr std::size_t MOST_VALUE_CACHE = 8U << 20U;
  static constexpr std::size_t LEAST_OF_PAGE = 24;  // so many new sprites at once are those of a page
  static constexpr std::size_t MOST_CONTEXTS = 16;  // of sizes and style sheets; then the cache begins anew
  static constexpr std::size_t MOST_LAYERS = 16;

  RetainedPicture();
  ~RetainedPicture();
  RetainedPicture(const RetainedPicture&) = delete;
  RetainedPicture& operator=(const RetainedPicture&) = delete;

  // Makes the picture that of the document, in that size, with these elements dim. False when no pixel was
  // drawn, because nothing visible changed. Throws std::runtime_error when the document cannot be drawn;
  // Pixels() is then the picture of no document.
  bool Update(const std::string& svg, int width, int height, dim_rates_t dim = {});
  // Empty before the first update. Valid until the next one.
  const pixels_t& Pixels() const;
  picture_counters_t Counters() const;

 private:
  struct state_t;
  std::unique_ptr<state_t> state_;
};

}  // namespace unit
