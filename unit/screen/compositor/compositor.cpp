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

compositor_reply_t Compositor::Accept(std::span<const std::uint8_t> message) {
  ++counters_.messages;
  bool known = true;
  const record_count_t count = ReadRecords(message, [&](const layer_record_t& record) {
    known = known && (!IsLayerCommand(record.command) || layers_.contains(record.layer));
  });
  counters_.recordsSkipped += count.skipped;
  if (count.read == 0) return compositor_reply_t::NO_RECORD;
  if (!known) return compositor_reply_t::UNKNOWN_LAYER;
  ReadRecords(message, [this](const layer_record_t& record) { AcceptRecord(record); });
  return compositor_reply_t::OK;
}

void Compositor::AcceptRecord(const layer_record_t& record) {
  if (record.command == CMD_DESTROY_LAYER) {
    layers_.erase(record.layer);
    return;
  }
  if (record.command == CMD_CREATE_LAYER && layers_.size() < MAX_LAYERS) layers_[record.layer] = layer_t{};
  const auto found = layers_.find(record.layer);
  if (found == layers_.end() || !Carry(found->second, record)) ++counters_.operationsRefused;
}

bool Compositor::Carry(layer_t& layer, const layer_record_t& record) {
  switch (record.command) {
    case CMD_CREATE_LAYER:
      return true;
    case CMD_OPERATION:
      return Operate(layer, record);
    case CMD_SHAPE:
      return DrawShape(layer, record);
    case CMD_IMAGE:
      return DrawImage(layer, record);
    case CMD_VIDEO:
      return DrawVideo(layer, record);
    case CMD_END_FRAME:
      EndFrame(layer);
      return true;
    default:  // also a capture: a client must not choose a file that this service writes
      return false;
  }
}

bool Compositor::Operate(layer_t& layer, const layer_record_t& record) {
  struct layer_operation_t {
    std::uint32_t number;
    bool (*carry)(layer_t& layer, std::span<const std::uint8_t> data);
  };
  static constexpr std::array<layer_operation_t, 12> OPERATIONS = {{
      {OP_PUSH_AND_TRANSLATE, PushAndTranslate},
      {OP_PUSH, PushCopy},
      {OP_POP, Pop},
      {OP_ROTATE, Rotate},
      {OP_SCALE, Scale},
      {OP_COLOR, SetColor},
      {OP_START_FRAME, StartFrame},
      {OP_CLEAR_TEXTURE, DoNothing},
      {OP_ENABLE, DoNothing},
      {OP_DISABLE, DoNothing},
      {OP_PRELOAD_IMAGES, DoNothing},  // pictures are read when they are first drawn
      {OP_DRAW_TEXT, DoNothing},       // the operation carries no text
  }};
  for (const layer_operation_t& operation : OPERATIONS) {
    if (operation.number == record.firstArgument) return operation.carry(layer, record.data);
  }
  return false;
}

bool Compositor::PushAndTranslate(layer_t& layer, std::span<const std::uint8_t> data) {
  const auto at = Floats<3>(data);
  return at && Push(layer, {1, 0, 0, 1, (*at)[0], (*at)[1]});
}

bool Compositor::PushCopy(layer_t& layer, std::span<const std::uint8_t> /*data*/) {
  return Push(layer, {1, 0, 0, 1, 0, 0});
}

bool Compositor::Pop(layer_t& layer, std::span<const std::uint8_t> /*data*/) {
  if (layer.stack.size() < 2) return false;
  layer.stack.pop_back();
  return true;
}

// The screen is flat: of the rotation's axis only the part that points into the screen counts.
bool Compositor::Rotate(layer_t& layer, std::span<const std::uint8_t> data) {
  const auto turn = Floats<4>(data);
  if (!turn) return false;
  const double radians = ((*turn)[3] < 0 ? -1 : 1) * (*turn)[0] * std::numbers::pi / 180;
  Transform(layer, {std::cos(radians), std::sin(radians), -std::sin(radians), std::cos(radians), 0, 0});
  return true;
}

bool Compositor::Scale(layer_t& layer, std::span<const std::uint8_t> data) {
  const auto scale = Floats<3>(data);
  if (scale) Transform(layer, {(*scale)[0], 0, 0, (*scale)[1], 0, 0});
  return scale.has_value();
}

bool Compositor::SetColor(layer_t& layer, std::span<const std::uint8_t> data) {
  const auto color = Floats<4>(data);
  for (std::size_t i = 0; color && i < color->size(); ++i) layer.color.at(i) = static_cast<float>(color->at(i));
  return color.has_value();
}

bool Compositor::StartFrame(layer_t& layer, std::span<const std::uint8_t> /*data*/) {
  layer.working.clear();
  Reset(layer);
  return true;
}

bool Compositor::DoNothing(layer_t& /*layer*/, std::span<const std::uint8_t> /*data*/) {
  return true;
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
  const std::optional<stored_picture_t> picture = pictures_(std::string(TextOf(record.data, 2 * WORD)));
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
