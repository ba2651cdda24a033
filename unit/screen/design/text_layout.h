// Lays out a widget's text in its place, as runs that librsvg and browsers draw alike.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace unit {

enum class align_t { LEFT, CENTER, RIGHT };

// The place of a text, in pixels of the page. Widgets with columns of fixed width have cells.
struct text_place_t {
  double x = 0;
  double width = 0;
  int cells = 0;            // columns in the width; 0: proportional text
  std::size_t maximum = 0;  // code points of a proportional text, else it ends with an ellipsis; 0: any
  double fontSize = 16;
  std::optional<align_t> fixed;  // the design's alignment, which overrides that of messages
};

struct text_run_t {
  std::optional<double> x;         // empty: the element's own x
  std::optional<double> fontSize;  // set where a glyph would be wider than its cell
  std::string text;

  bool operator==(const text_run_t&) const = default;
};

struct text_layout_t {
  std::string anchor;  // text-anchor
  double x = 0;
  std::vector<text_run_t> runs;

  bool operator==(const text_layout_t&) const = default;
};

// Makes a received text fit for an XML document. The one rule for characters that cannot be shown: each
// ill-formed sequence, each control character (C0, U+0000 among them, DEL, and C1, U+0080 to U+009F), U+FFFE
// and U+FFFF becomes one U+FFFD. Nothing is left out, so that what follows keeps its column.
std::string CleanText(std::string_view text);

// In cells, each glyph has a run of its own, centred in its column: fallback fonts have other widths, and not
// every renderer draws lists of positions. Blanks have no run; glyphs beyond the last column are cut off.
// Without cells, leading and trailing blanks are dropped, since the alignment places the text. `text` has been
// through CleanText.
text_layout_t LayOut(std::string_view text, const text_place_t& place, align_t align);

}  // namespace unit
