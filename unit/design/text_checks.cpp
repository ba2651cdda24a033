#include "unit/design/text_checks.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "unit/screen/design/element_view.h"

namespace unit {
namespace {

constexpr int SCALE = 2;           // thin strokes reach their colour
constexpr double SPARE = 1;        // pixels that texts keep from each other
constexpr double TOLERANCE = 0.5;  // of a text at the edge of its frame

std::string Format(double value) {
  return FormatPixels(value, 1);
}

bool HasClass(const drawn_text_t& text, const std::string& name) {
  return (" " + text.classes + " ").find(" " + name + " ") != std::string::npos;
}

bool Touch(const ink_box_t& a, const ink_box_t& b) {
  return a.x < b.x + b.width + SPARE && b.x < a.x + a.width + SPARE && a.y < b.y + b.height &&
         b.y < a.y + a.height;
}

bool IsInside(const ink_box_t& text, const ink_box_t& frame) {
  return text.x >= frame.x - TOLERANCE && text.y >= frame.y - TOLERANCE &&
         text.x + text.width <= frame.x + frame.width + TOLERANCE &&
         text.y + text.height <= frame.y + frame.height + TOLERANCE;
}

double Channel(std::uint32_t pixel, int shift) {
  const double value = static_cast<double>((pixel >> shift) & 0xFF) / 255;
  return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

double Luminance(std::uint32_t pixel) {
  return 0.2126 * Channel(pixel, 16) + 0.7152 * Channel(pixel, 8) + 0.0722 * Channel(pixel, 0);
}

double Contrast(std::uint32_t a, std::uint32_t b) {
  const double one = Luminance(a) + 0.05, other = Luminance(b) + 0.05;
  return std::max(one, other) / std::min(one, other);
}

struct picture_pair_t {
  pixels_t with, without;
};

picture_pair_t DrawPair(const std::string& svg, const std::string& style) {
  const int width = static_cast<int>(SCREEN_WIDTH) * SCALE, height = static_cast<int>(SCREEN_HEIGHT) * SCALE;
  return {RenderPixels(svg, width, height, style),
          RenderPixels(svg, width, height, style + "text{visibility:hidden!important}")};
}

// The strongest of the text's pixels: the others are the edges of its strokes.
double ContrastOf(const ink_box_t& box, const picture_pair_t& pair) {
  double strongest = 1;
  const int left = std::max(0, static_cast<int>(box.x * SCALE));
  const int top = std::max(0, static_cast<int>(box.y * SCALE));
  const int right = std::min(pair.with.width, static_cast<int>((box.x + box.width) * SCALE) + 1);
  const int bottom = std::min(pair.with.height, static_cast<int>((box.y + box.height) * SCALE) + 1);
  for (int y = top; y < bottom; ++y) {
    for (int x = left; x < right; ++x) {
      const auto at =
          static_cast<std::size_t>(y) * static_cast<std::size_t>(pair.with.width) + static_cast<std::size_t>(x);
      if (((pair.with.values[at] ^ pair.without.values[at]) & 0xFFFFFF) == 0) continue;
      strongest = std::max(strongest, Contrast(pair.with.values[at], pair.without.values[at]));
    }
  }
  return strongest;
}

double LeastSize(const drawn_text_t& text) {
  if (IsValue(text)) return LEAST_VALUE_SIZE;
  return HasClass(text, "unit") || HasClass(text, "off") ? LEAST_SIZE : LEAST_CAPTION_SIZE;
}

}  // namespace

bool IsValue(const drawn_text_t& text) {
  return HasClass(text, "value") || HasClass(text, "large");
}

std::vector<text_finding_t> CheckPlaces(const std::vector<drawn_text_t>& texts) {
  std::vector<text_finding_t> findings;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    const drawn_text_t& text = texts[i];
    if (!IsInside(text.box, text.frame)) {
      findings.push_back({text.name, "\"" + text.content + "\" (" + Format(text.box.width) +
                                         " pixels wide) goes beyond its frame; shorten it or widen the frame"});
    }
    for (std::size_t j = i + 1; j < texts.size(); ++j) {
      if (!Touch(text.box, texts[j].box)) continue;
      findings.push_back({text.name, "\"" + text.content + "\" touches \"" + texts[j].content + "\" (" +
                                         texts[j].name + "); move or shorten one"});
    }
  }
  return findings;
}

std::vector<text_finding_t> CheckSizes(const std::vector<drawn_text_t>& texts, text_extremes_t& extremes) {
  std::vector<text_finding_t> findings;
  for (const drawn_text_t& text : texts) {
    const double least = LeastSize(text);
    double& extreme = least == LEAST_VALUE_SIZE     ? extremes.valueSize
                      : least == LEAST_CAPTION_SIZE ? extremes.captionSize
                                                    : extremes.size;
    extreme = std::min(extreme, text.fontSize);
    if (text.fontSize >= least) continue;
    findings.push_back({text.name, "\"" + text.content + "\" has " + Format(text.fontSize) +
                                       " pixels; at least " + Format(least) + " are needed"});
  }
  return findings;
}

std::vector<text_finding_t> CheckContrast(const std::string& svg, const std::vector<drawn_text_t>& texts,
                                          text_extremes_t& extremes) {
  std::vector<text_finding_t> findings;
  const bool flashes = svg.find("data-flashing=") != std::string::npos;
  const std::array<std::string, 2> styles{"", "[data-flashing]{opacity:0.25!important}"};
  for (std::size_t half = 0; half < (flashes ? 2U : 1U); ++half) {
    const picture_pair_t pair = DrawPair(svg, styles.at(half));
    for (const drawn_text_t& text : texts) {
      const double least = IsValue(text) ? LEAST_VALUE_CONTRAST : LEAST_CONTRAST;
      const double contrast = ContrastOf(text.box, pair);
      double& extreme = IsValue(text) ? extremes.valueContrast : extremes.contrast;
      extreme = std::min(extreme, contrast);
      if (contrast >= least) continue;
      findings.push_back({text.name, "\"" + text.content + "\" has a contrast of " + Format(contrast) + "; " +
                                         Format(least) + " is needed"});
    }
  }
  return findings;
}

}  // namespace unit
