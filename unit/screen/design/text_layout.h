// How a widget's text lies in its place: cut into runs that librsvg and browsers draw alike.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace unit {

enum class align_t { LEFT, CENTER, RIGHT };

// A text's place, in pixels of the page. Widgets of fixed pitch have cells.
struct text_place_t {
  double x = 0;
  double width = 0;
  int cells = 0;            // columns that fill the width; 0: proportional text
  std::size_t maximum = 0;  // code points of a proportional text before it is cut with an ellipsis; 0: any
  double fontSize = 16;
  std::optional<align_t> fixed;  // set: the design's own alignment holds against the message's
};

struct text_run_t {
  std::optional<double> x;         // empty: goes on from the element's own x
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

// What arrived as UTF-8, made fit to be shown. The one rule for characters that cannot be shown: each
// ill-formed sequence, each control character (C0, U+0000 among them, DEL, and C1, U+0080 to U+009F), U+FFFE
// and U+FFFF becomes one U+FFFD. Nothing is left out, so that what follows keeps its column.
std::string CleanText(std::string_view text);

// With cells each glyph has a run of its own, centred in its column: fallback fonts have other advances, and
// lists of positions are not drawn by every renderer. Blanks need no run; what goes beyond the last column is
// cut. Without cells leading and trailing blanks are dropped, since the alignment says where the text stands.
// `text` is clean.
text_layout_t LayOut(std::string_view text, const text_place_t& place, align_t align);

}  // namespace unit
