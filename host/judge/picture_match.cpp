#include "host/judge/picture_match.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <sstream>
#include <vector>

#include <png.h>

namespace judge {
namespace {

constexpr unsigned CHANNELS = 3;
constexpr unsigned WIDEST = 8192;

struct pixels_t {
  unsigned width = 0;
  unsigned height = 0;
  std::vector<std::uint8_t> bytes;  // RGB
};

std::optional<pixels_t> ReadPng(std::string_view png) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  if (png_image_begin_read_from_memory(&image, png.data(), png.size()) == 0) return std::nullopt;
  pixels_t pixels{image.width, image.height, {}};
  image.format = PNG_FORMAT_RGB;
  if (pixels.width > WIDEST || pixels.height > WIDEST) {
    png_image_free(&image);
    return std::nullopt;
  }
  pixels.bytes.resize(PNG_IMAGE_SIZE(image));
  if (png_image_finish_read(&image, nullptr, pixels.bytes.data(), 0, nullptr) == 0) return std::nullopt;
  return pixels;
}

// The difference of a pixel as grey, weighted as the eye sees the colours (ITU-R BT.601).
double GreyDifference(const std::uint8_t* a, const std::uint8_t* b) {
  const auto differ = [&](unsigned channel) { return std::abs(a[channel] - b[channel]); };
  return 0.299 * differ(0) + 0.587 * differ(1) + 0.114 * differ(2);
}

struct difference_t {
  double mean = 0;
  double worst = 0;  // of the tiles
  unsigned x = 0;    // of the worst tile
  unsigned y = 0;
};

double SumTile(const pixels_t& a, const pixels_t& b, unsigned left, unsigned top) {
  double sum = 0;
  for (unsigned y = top; y < std::min(top + TILE, a.height); ++y) {
    for (unsigned x = left; x < std::min(left + TILE, a.width); ++x) {
      const std::size_t at = (std::size_t{y} * a.width + x) * CHANNELS;
      sum += GreyDifference(&a.bytes[at], &b.bytes[at]);
    }
  }
  return sum;
}

difference_t Compare(const pixels_t& a, const pixels_t& b) {
  difference_t found;
  for (unsigned y = 0; y < a.height; y += TILE) {
    for (unsigned x = 0; x < a.width; x += TILE) {
      const double sum = SumTile(a, b, x, y);
      found.mean += sum / (static_cast<double>(a.width) * a.height);
      if (sum / (TILE * TILE) > found.worst) {
        found.worst = sum / (TILE * TILE);
        found.x = x;
        found.y = y;
      }
    }
  }
  return found;
}

}  // namespace

std::string DescribeDifference(std::string_view stored, std::string_view shown) {
  const auto a = ReadPng(stored);
  const auto b = ReadPng(shown);
  if (!a) return "the stored picture is no PNG file that can be read";
  if (!b) return "the panel sent no PNG picture";
  std::ostringstream text;
  if (a->width != b->width || a->height != b->height) {
    text << "the stored picture has " << a->width << "x" << a->height << " pixels, the screen " << b->width
         << "x" << b->height;
    return text.str();
  }
  const difference_t found = Compare(*a, *b);
  if (found.mean <= MEAN_TOLERANCE && found.worst <= TILE_TOLERANCE) return {};
  text.precision(3);
  text << "the picture differs by " << found.mean << " of 255 on the whole, and by " << found.worst
       << " at the pixels from " << found.x << "," << found.y;
  return text.str();
}

}  // namespace judge
