// The compositor: layers, each with the drawing of its last whole frame.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "unit/screen/compositor/record_reader.h"
#include "unit/screen/compositor/shape_path.h"
#include "unit/screen/design/drawing.h"

namespace unit {

struct compositor_counters_t {
  std::uint64_t messages = 0, frames = 0;
  std::uint64_t recordsSkipped = 0;     // no record where one should stand
  std::uint64_t operationsRefused = 0;  // unknown, without its data, or beyond a bound
  std::uint64_t picturesMissing = 0;
};

// Answers to a message; a client halts on any but OK.
enum class compositor_reply_t : std::int32_t { OK = 0, NO_RECORD = 1, UNKNOWN_LAYER = 2 };

// Finds a picture of the unit by its path there. Empty when there is none of that name.
using picture_source_t = std::function<std::optional<picture_t>(const std::string& path)>;

// Turns records into SVG. Not thread-safe; its owner locks it.
class Compositor {
 public:
  explicit Compositor(picture_source_t pictures) : pictures_(std::move(pictures)) {}

  // Takes one message. NO_RECORD when there is not one record in it, UNKNOWN_LAYER when it draws on a layer
  // that was not made; the message changes nothing then. Everything else that is wrong is counted and passed
  // over.
  compositor_reply_t Take(std::span<const std::uint8_t> message);

  // All layers' last whole frames, the lowest id first.
  drawing_t Drawing() const;
  const compositor_counters_t& Counters() const { return counters_; }

  static constexpr std::size_t MAX_LAYERS = 16;
  static constexpr std::size_t MAX_ELEMENTS = 4096;  // of one frame
  static constexpr std::size_t MAX_DEPTH = 64;       // of pushed transforms

 private:
  using matrix_t = std::array<double, 6>;  // a b c d e f of SVG's matrix()
  struct layer_t {
    std::vector<matrix_t> stack{{1, 0, 0, 1, 0, 0}};
    std::array<float, 4> color{1, 1, 1, 1};
    drawing_t working, shown;
  };

  void TakeRecord(const layer_record_t& record);
  bool Operate(layer_t& layer, const layer_record_t& record);
  bool DrawShape(layer_t& layer, const layer_record_t& record);
  bool DrawImage(layer_t& layer, const layer_record_t& record);
  bool DrawVideo(layer_t& layer, const layer_record_t& record);
  bool Add(layer_t& layer, drawn_element_t element);
  void EndFrame(layer_t& layer);
  static void Reset(layer_t& layer);
  static bool Push(layer_t& layer, const matrix_t& change);
  static void Transform(layer_t& layer, const matrix_t& change);

  picture_source_t pictures_;
  std::map<std::uint32_t, layer_t> layers_;
  compositor_counters_t counters_;
};

}  // namespace unit
