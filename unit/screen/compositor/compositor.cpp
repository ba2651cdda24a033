#include "unit/screen/compositor/compositor.h"

#include <cmath>
#include <numbers>
#include <utility>

#include "platform/byte_order.h"

#include "unit/screen/design/element_view.h"

namespace unit {
namespace {

using namespace Compositing;

constexpr std::size_t WORD = 4;

// The first N floats of a record's data; empty when there are fewer or one is not finite.
template <std::size_t N>
std::optional<std::array<double, N>> Floats(std::span<const std::uint8_t> data) {
  std::array<double, N> values{};
  if (data.size() < N * WORD) return {};
  for (std::size_t i = 0; i < N; ++i) {
    values.at(i) = platform::LoadLeFloat(data, i * WORD);
    if (!std::isfinite(values.at(i))) return {};
  }
  return values;
}

bool IsLayerCommand(std::uint32_t command) {
  return command != CMD_CREATE_LAYER && command != CMD_DESTROY_LAYER;
}

}  // namespace

compositor_reply_t Compositor::Take(std::span<const std::uint8_t> message) {
  ++counters_.messages;
  bool known = true;
  const record_count_t count = ReadRecords(message, [&](const layer_record_t& record) {
    known = known && (!IsLayerCommand(record.command) || layers_.contains(record.layer));
  });
  counters_.recordsSkipped += count.skipped;
  if (count.read == 0) return compositor_reply_t::NO_RECORD;
  if (!known) return compositor_reply_t::UNKNOWN_LAYER;
  ReadRecords(message, [this](const layer_record_t& record) { TakeRecord(record); });
  return compositor_reply_t::OK;
}

void Compositor::TakeRecord(const layer_record_t& record) {
  if (record.command == CMD_DESTROY_LAYER) {
    layers_.erase(record.layer);
    return;
  }
  if (record.command == CMD_CREATE_LAYER && layers_.size() < MAX_LAYERS) layers_[record.layer] = layer_t{};
  const auto found = layers_.find(record.layer);
  bool done = found != layers_.end();
  if (done) {
    layer_t& layer = found->second;
    switch (record.command) {
      case CMD_CREATE_LAYER:
        break;
      case CMD_OPERATION:
        done = Operate(layer, record);
        break;
      case CMD_SHAPE:
        done = DrawShape(layer, record);
        break;
      case CMD_IMAGE:
        done = DrawImage(layer, record);
        break;
      case CMD_VIDEO:
        done = DrawVideo(layer, record);
        break;
      case CMD_END_FRAME:
        EndFrame(layer);
        break;
      default:  // a capture too: nothing is written to a file of a client's choice
        done = false;
    }
  }
  if (!done) ++counters_.operationsRefused;
}

bool Compositor::Operate(layer_t& layer, const layer_record_t& record) {
  switch (record.firstArgument) {
    case OP_PUSH_AND_TRANSLATE: {
      const auto at = Floats<3>(record.data);
      return at && Push(layer, {1, 0, 0, 1, (*at)[0], (*at)[1]});
    }
    case OP_PUSH:
      return Push(layer, {1, 0, 0, 1, 0, 0});
    case OP_POP:
      if (layer.stack.size() < 2) return false;
      layer.stack.pop_back();
      return true;
    case OP_ROTATE: {
      const auto turn = Floats<4>(record.data);
      if (!turn) return false;
      // The screen is flat: only the axis that points into it turns anything.
      const double radians = ((*turn)[3] < 0 ? -1 : 1) * (*turn)[0] * std::numbers::pi / 180;
      Transform(layer, {std::cos(radians), std::sin(radians), -std::sin(radians), std::cos(radians), 0, 0});
      return true;
    }
    case OP_SCALE: {
      const auto scale = Floats<3>(record.data);
      if (scale) Transform(layer, {(*scale)[0], 0, 0, (*scale)[1], 0, 0});
      return scale.has_value();
    }
    case OP_COLOR: {
      const auto color = Floats<4>(record.data);
      for (std::size_t i = 0; color && i < color->size(); ++i)
        layer.color.at(i) = static_cast<float>(color->at(i));
      return color.has_value();
    }
    case OP_START_FRAME:
      layer.working.clear();
      Reset(layer);
      return true;
    case OP_CLEAR_TEXTURE:
    case OP_ENABLE:
    case OP_DISABLE:
    case OP_PRELOAD_IMAGES:  // pictures are read when they are first drawn
    case OP_DRAW_TEXT:       // carries no text
      return true;
    default:
      return false;
  }
}

bool Compositor::DrawShape(layer_t& layer, const layer_record_t& record) {
  std::vector<double> arguments;
  for (std::size_t at = 0; at + WORD <= record.data.size() && arguments.size() < MAX_SHAPE_ARGUMENTS;
       at += WORD) {
    arguments.push_back(platform::LoadLeFloat(record.data, at));
    if (!std::isfinite(arguments.back())) return false;
  }
  std::optional<drawn_element_t> element = MakeShape(record.firstArgument, arguments, layer.color);
  return element && Add(layer, std::move(*element));
}

bool Compositor::DrawImage(layer_t& layer, const layer_record_t& record) {
  if (record.data.size() < 2 * WORD) return false;
  const auto width = static_cast<std::int32_t>(platform::LoadLe32(record.data, 0));
  const auto height = static_cast<std::int32_t>(platform::LoadLe32(record.data, WORD));
  const std::optional<picture_t> picture = pictures_(std::string(TextOf(record.data, 2 * WORD)));
  if (!picture) {
    ++counters_.picturesMissing;
    return true;
  }
  const bool centred = record.firstArgument == IMAGE_CENTERED;
  return Add(layer, MakePicture(*picture, width, height, centred));
}

bool Compositor::DrawVideo(layer_t& layer, const layer_record_t& record) {
  if (record.data.size() < 5 * WORD) return false;
  std::array<double, 4> box{};
  for (std::size_t i = 0; i < box.size(); ++i) {
    box.at(i) = static_cast<std::int32_t>(platform::LoadLe32(record.data, i * WORD));
  }
  return Add(layer, MakeVideoPlace(box));
}

bool Compositor::Add(layer_t& layer, drawn_element_t element) {
  if (layer.working.size() >= MAX_ELEMENTS) return false;
  std::string matrix = "matrix(";
  for (const double part : layer.stack.back()) matrix += FormatPixels(part, 4) + " ";
  matrix.back() = ')';
  layer.working.push_back({"g", {{"transform", matrix}}, {}, {std::move(element)}});
  return true;
}

void Compositor::EndFrame(layer_t& layer) {
  ++counters_.frames;
  layer.shown = std::exchange(layer.working, {});
  Reset(layer);
}

void Compositor::Reset(layer_t& layer) {
  layer.stack = {{1, 0, 0, 1, 0, 0}};
  layer.color = {1, 1, 1, 1};
}

bool Compositor::Push(layer_t& layer, const matrix_t& change) {
  if (layer.stack.size() >= MAX_DEPTH) return false;
  layer.stack.push_back(layer.stack.back());
  Transform(layer, change);
  return true;
}

void Compositor::Transform(layer_t& layer, const matrix_t& change) {
  const matrix_t m = layer.stack.back();
  const auto& [a, b, c, d, e, f] = change;
  layer.stack.back() = {m[0] * a + m[2] * b, m[1] * a + m[3] * b,        m[0] * c + m[2] * d,
                        m[1] * c + m[3] * d, m[0] * e + m[2] * f + m[4], m[1] * e + m[3] * f + m[5]};
}

drawing_t Compositor::Drawing() const {
  drawing_t drawing;
  for (const auto& [id, layer] : layers_) drawing.insert(drawing.end(), layer.shown.begin(), layer.shown.end());
  return drawing;
}

}  // namespace unit
