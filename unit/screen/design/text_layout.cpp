#include "unit/screen/design/text_layout.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

#include <utf8.h>

namespace unit {
namespace {

constexpr char32_t REPLACEMENT = 0xFFFD;
constexpr char32_t ELLIPSIS = 0x2026;
constexpr char32_t IDEOGRAPHIC_SPACE = 0x3000;

std::u32string Decode(std::string_view text) {
  std::u32string codepoints;
  utf8::unchecked::utf8to32(text.begin(), text.end(), std::back_inserter(codepoints));
  return codepoints;
}

std::string Encode(std::u32string_view codepoints) {
  std::string text;
  utf8::unchecked::utf32to8(codepoints.begin(), codepoints.end(), std::back_inserter(text));
  return text;
}

bool IsBlank(char32_t c) {
  return c == ' ' || c == IDEOGRAPHIC_SPACE || c == 0xA0;
}

// XML 1.0 allows most of these not even as character references.
bool IsUnfit(char32_t c) {
  return c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0xFFFE || c == 0xFFFF;
}

// Glyphs that are as wide as high (Unicode's East Asian widths W and F, by block).
bool IsWide(char32_t c) {
  constexpr std::array<std::pair<char32_t, char32_t>, 7> BLOCKS{{{0x1100, 0x115F},
                                                                 {0x2E80, 0xA4CF},
                                                                 {0xAC00, 0xD7A3},
                                                                 {0xF900, 0xFAFF},
                                                                 {0xFE30, 0xFE6F},
                                                                 {0xFF00, 0xFF60},
                                                                 {0xFFE0, 0xFFE6}}};
  return std::any_of(BLOCKS.begin(), BLOCKS.end(),
                     [c](const auto& block) { return c >= block.first && c <= block.second; });
}

std::size_t FirstCell(std::size_t length, std::size_t cells, align_t align) {
  if (length >= cells || align == align_t::LEFT) return 0;
  return align == align_t::RIGHT ? cells - length : (cells - length) / 2;
}

text_layout_t LayOutCells(std::u32string_view text, const text_place_t& place, align_t align) {
  const auto cells = static_cast<std::size_t>(place.cells);
  const double pitch = place.width / static_cast<double>(cells);
  const std::size_t first = FirstCell(text.size(), cells, align);
  text_layout_t layout{"middle", place.x, {}};
  for (std::size_t i = 0; i < std::min(text.size(), cells); ++i) {
    if (IsBlank(text[i])) continue;
    const double centre = place.x + pitch * (static_cast<double>(first + i) + 0.5);
    const bool tooWide = IsWide(text[i]) && place.fontSize > pitch;
    layout.runs.push_back({centre, tooWide ? std::optional(pitch) : std::nullopt, Encode(text.substr(i, 1))});
  }
  return layout;
}

std::u32string_view Trim(std::u32string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

text_layout_t LayOutProportional(std::u32string_view whole, const text_place_t& place, align_t align) {
  std::u32string text(Trim(whole));
  if (place.maximum > 0 && text.size() > place.maximum) {
    text.resize(place.maximum - 1);
    text.push_back(ELLIPSIS);
  }
  constexpr std::array<const char*, 3> ANCHORS{"start", "middle", "end"};
  constexpr std::array<double, 3> PARTS{0.0, 0.5, 1.0};
  const auto index = static_cast<std::size_t>(align);
  text_layout_t layout{ANCHORS.at(index), place.x + place.width * PARTS.at(index), {}};
  if (!text.empty()) layout.runs.push_back({{}, {}, Encode(text)});
  return layout;
}

}  // namespace

std::string CleanText(std::string_view text) {
  std::string wellFormed;
  utf8::replace_invalid(text.begin(), text.end(), std::back_inserter(wellFormed), REPLACEMENT);
  std::u32string codepoints = Decode(wellFormed);
  std::replace_if(codepoints.begin(), codepoints.end(), IsUnfit, REPLACEMENT);
  return Encode(codepoints);
}

text_layout_t LayOut(std::string_view text, const text_place_t& place, align_t align) {
  const std::u32string codepoints = Decode(text);
  const align_t used = place.fixed.value_or(align);
  return place.cells > 0 ? LayOutCells(codepoints, place, used) : LayOutProportional(codepoints, place, used);
}

}  // namespace unit
