// The compositor: keeps the layers, each with the drawing of its last complete frame.
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
  std::uint64_t recordsSkipped = 0;     // no record where one should begin
  std::uint64_t operationsRefused = 0;  // unknown, without its data, or beyond a bound
  std::uint64_t picturesMissing = 0;
};

// The answer to a message. A client stops drawing after any but OK.
enum class compositor_reply_t : std::int32_t { OK = 0, NO_RECORD = 1, UNKNOWN_LAYER = 2 };

// Finds a picture by its path on the display unit. Empty when there is none.
using picture_source_t = std::function<std::optional<stored_picture_t>(const std::string& path)>;

// Turns records into SVG. Not thread-safe; its owner locks it.
class Compositor {
 public:
  explicit Compositor(picture_source_t pictures) : pictures_(std::move(pictures)) {}

  // Takes one message. NO_RECORD when it has no record, UNKNOWN_LAYER when it draws on a layer that does not
  // exist; in both cases the message changes nothing. Other faults are counted and skipped.
  compositor_reply_t Accept(std::span<const std::uint8_t> message);

  // The last complete frames of all layers, the lowest id first.
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

  void AcceptRecord(const layer_record_t& record);
  bool Carry(layer_t& layer, const layer_record_t& record);
  // Each returns false for a record without its data or beyond a bound.
  static bool Operate(layer_t& layer, const layer_record_t& record);
  static bool PushAndTranslate(layer_t& layer, std::span<const std::uint8_t> data);
  static bool PushCopy(layer_t& layer, std::span<const std::uint8_t> data);
  static bool Pop(layer_t& layer, std::span<const std::uint8_t> data);
  static bool Rotate(layer_t& layer, std::span<const std::uint8_t> data);
  static bool Scale(layer_t& layer, std::span<const std::uint8_t> data);
  static bool SetColor(layer_t& layer, std::span<const std::uint8_t> data);
  static bool StartFrame(layer_t& layer, std::span<const std::uint8_t> data);
  static bool DoNothing(layer_t& layer, std::span<const std::uint8_t> data);
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
