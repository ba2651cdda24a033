#include "src/compositing/layer.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <iostream>
#include <thread>

#include "platform/byte_order.h"
#include "platform/messages.h"
#include "platform/names.h"

#include "src/compositing/drawing_objects.h"

namespace Compositing {

namespace {

constexpr std::size_t WORD = sizeof(std::uint32_t);
constexpr std::chrono::milliseconds RETRY{500};

std::atomic<Layer*> currentLayer{nullptr};

constexpr std::size_t RoundUpToWord(std::size_t length) {
  return (length + WORD - 1) / WORD * WORD;
}

void PrintLayerLine(std::ostream& stream, const std::string& line) {
  stream << line + '\n' << std::flush;
}

// Stops the calling thread for good; see Layer::draw.
[[noreturn]] void HaltDrawing() {
  for (;;) std::this_thread::sleep_for(std::chrono::seconds(10));
}

}  // namespace

Layer::Layer(int id, LayerType_t type) : id_(id), type_(type), queue_(QUEUE_SIZE) {
  if (const int error = Connect(); error != 0) {
    PrintLayerLine(std::cerr, "compGraphLib: MsgSend Error: " + std::to_string(error));
  }
}

// Returns 0, an error number or the compositor's status.
int Layer::Connect() {
  if (coid_ >= 0) name_close(coid_);
  coid_ = name_open(SERVER_NAME, 0);
  const int error = SendSingleRecord(CMD_CREATE_LAYER, static_cast<int>(type_));
  connected_ = error == 0;
  nextTry_ = std::chrono::steady_clock::now() + RETRY;
  return error;
}

Layer::~Layer() {
  const std::string prefix = "compGraphLib: Layer " + std::to_string(id_);
  PrintLayerLine(std::cout, prefix + " Destroy begin.");
  Layer* self = this;
  currentLayer.compare_exchange_strong(self, nullptr);
  for (const auto& [objectId, object] : objects_) object->layer_ = nullptr;
  const int error = SendSingleRecord(CMD_DESTROY_LAYER, 0);
  if (error != 0)
    PrintLayerLine(std::cerr, "compGraphLib: MsgSend Error on Layer Destory: " + std::to_string(error));
  if (coid_ >= 0) name_close(coid_);
  PrintLayerLine(std::cout, prefix + " Destroy completed.");
}

// Sends one record in a message of its own, without the queue. Returns 0, an error number or the compositor's
// status.
int Layer::SendSingleRecord(cmd_t command, int firstArgument) const {
  std::array<std::uint8_t, RECORD_HEADER_SIZE> record{};
  WriteHeader(record, {command, firstArgument, 0, 0});
  const layer_reply_t reply = Send(record);
  return reply.error != 0 ? reply.error : reply.status;
}

Layer::layer_reply_t Layer::Send(std::span<const std::uint8_t> records) const {
  std::array<std::uint8_t, WORD> reply{};
  if (coid_ < 0) return {ESRCH, 0};
  if (MsgSend(coid_, records.data(), records.size(), reply.data(), reply.size()) == -1) return {errno, 0};
  return {0, static_cast<std::int32_t>(platform::LoadLe32(reply, 0))};
}

// --- The current layer and its objects

void Layer::setToCurrentLayer() {
  currentLayer = this;
}

Layer* Layer::GetCurrentLayer() {
  return currentLayer;
}

int Layer::addDrawingObj(DrawingObject* object) {
  const std::lock_guard lock(mutex_);
  const int objectId = objects_.empty() ? 1 : objects_.rbegin()->first + 1;
  objects_[objectId] = object;
  return objectId;
}

void Layer::deleteDrawingObj(int objectId) {
  const std::lock_guard lock(mutex_);
  objects_.erase(objectId);
}

// --- Frames

void Layer::draw() {
  draw(DRAW_FRAME, true);
}

void Layer::draw(DrawType_t type, bool beginNext) {
  const std::lock_guard lock(mutex_);
  if (type == DRAW_FRAME) addCommandWithParameters(CMD_END_FRAME, 0, 0, 0, nullptr, nullptr);
  SendFrame();
  used_ = 0;
  if (!beginNext) return;
  std::array<std::uint8_t, 2 * WORD> words{};
  platform::StoreLe32(words, WORD, 1);
  addCommandWithParameters(CMD_OPERATION, OP_START_FRAME, 0, words.size(), words.data(), nullptr);
}

// Only a reply other than 0 halts the thread. Without a compositor the frame is discarded; one that was started
// again gets the layer and the frame anew.
void Layer::SendFrame() {
  if (!connected_ && (std::chrono::steady_clock::now() < nextTry_ || Connect() != 0)) return;
  const layer_reply_t reply = Send({queue_.data(), used_});
  if (reply.error != 0) {
    connected_ = false;
    PrintLayerLine(std::cerr, "compGraphLib: MsgSend Error: " + std::to_string(reply.error));
  } else if (reply.status != 0) {
    PrintLayerLine(std::cout, "compGraphLib: Draw Error: " + std::to_string(reply.status));
    HaltDrawing();
  }
}

// --- Operations

void Layer::Operate(operation_t operation, std::span<const float> arguments) {
  std::array<std::uint8_t, 4 * WORD> bytes{};
  for (std::size_t i = 0; i < arguments.size(); ++i) platform::StoreLeFloat(bytes, i * WORD, arguments[i]);
  addCommandWithParameters(CMD_OPERATION, static_cast<int>(operation), 0,
                           static_cast<int>(arguments.size_bytes()), bytes.data(), nullptr);
}

void Layer::OperateInt(operation_t operation, int argument) {
  std::array<std::uint8_t, WORD> bytes{};
  platform::StoreLe32(bytes, 0, static_cast<std::uint32_t>(argument));
  addCommandWithParameters(CMD_OPERATION, static_cast<int>(operation), 0, bytes.size(), bytes.data(), nullptr);
}

void Layer::glPushAndTranslate(float x, float y, float z) {
  Operate(OP_PUSH_AND_TRANSLATE, std::array{x, y, z});
}

void Layer::glPush() {
  Operate(OP_PUSH);
}

void Layer::glPop() {
  Operate(OP_POP);
}

void Layer::glRotate(float a, float x, float y, float z) {
  Operate(OP_ROTATE, std::array{a, x, y, z});
}

void Layer::glScale(float x, float y, float z) {
  Operate(OP_SCALE, std::array{x, y, z});
}

void Layer::setColor(float r, float g, float b, float a) {
  Operate(OP_COLOR, std::array{r, g, b, a});
}

void Layer::clearTexture() {
  Operate(OP_CLEAR_TEXTURE);
}

void Layer::enable(int what) {
  OperateInt(OP_ENABLE, what);
}

void Layer::disable(int what) {
  OperateInt(OP_DISABLE, what);
}

void Layer::preloadImages(const std::string& names) {
  const std::vector<std::string> strings{names};
  addCommandWithParameters(CMD_OPERATION, OP_PRELOAD_IMAGES, 0, 0, nullptr, &strings);
}

void Layer::drawText() {
  Operate(OP_DRAW_TEXT);
}

void Layer::capture(const char* fileName) {
  const std::vector<std::string> strings{fileName};
  addCommandWithParameters(CMD_CAPTURE, 0, 0, 0, nullptr, &strings);
}

void Layer::video(const VideoInfo_t* info) {
  std::array<std::uint8_t, 5 * WORD> bytes{};
  std::size_t offset = 0;
  for (const std::int32_t word : {info->x, info->y, info->width, info->height, info->source}) {
    platform::StoreLe32(bytes, offset, static_cast<std::uint32_t>(word));
    offset += WORD;
  }
  const std::lock_guard lock(mutex_);
  addCommandWithParameters(CMD_VIDEO, 0, 0, bytes.size(), bytes.data(), nullptr);
  addCommandWithParameters(CMD_END_FRAME, 0, 0, 0, nullptr, nullptr);
}

// --- The queue

void Layer::addCommand(cmd_t command, int firstArgument, int secondArgument, int dataLength) {
  if (dataLength < 0) return;
  const auto length = static_cast<std::size_t>(dataLength);
  // QUEUE_SIZE is a multiple of 4, so rounding up stays within the queue.
  const std::size_t start = RoundUpToWord(used_);
  std::fill_n(queue_.begin() + static_cast<std::ptrdiff_t>(used_), start - used_, std::uint8_t{0});
  used_ = start;
  const std::size_t record = RECORD_HEADER_SIZE + length;
  if (used_ + record > QUEUE_SIZE) return;
  const auto room = std::span(queue_).subspan(used_);
  if (used_ + 2 * record > QUEUE_SIZE) {
    PrintLayerLine(std::cout, "LayerClient: command queue full");
    WriteHeader(room, {CMD_END_FRAME, 0, 0, 0});  // not counted in used_, so that the next record overwrites it
    return;
  }
  WriteHeader(room, {command, firstArgument, secondArgument, length});
  used_ += RECORD_HEADER_SIZE;
}

void Layer::addParameters(const std::uint8_t* bytes, int length) {
  if (length <= 0) return;
  Append({bytes, static_cast<std::size_t>(length)});
}

void Layer::addString(std::string_view text) {
  if (used_ + text.size() + 1 > QUEUE_SIZE) return;
  Append({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
  queue_[used_++] = 0;
}

void Layer::Append(std::span<const std::uint8_t> bytes) {
  if (bytes.size() > QUEUE_SIZE - used_) return;
  std::ranges::copy(bytes, queue_.begin() + static_cast<std::ptrdiff_t>(used_));
  used_ += bytes.size();
}

// The data is queued even when its header was refused: header and data have separate limits.
void Layer::addCommandWithParameters(cmd_t command, int firstArgument, int secondArgument, int length,
                                     const std::uint8_t* bytes, const std::vector<std::string>* strings) {
  const std::lock_guard lock(mutex_);
  std::size_t total = static_cast<std::size_t>(std::max(length, 0));
  for (std::size_t i = 0; strings != nullptr && i < strings->size(); ++i) total += (*strings)[i].size() + 1;
  addCommand(command, firstArgument, secondArgument, static_cast<int>(std::min(total, QUEUE_SIZE + 1)));
  addParameters(bytes, length);
  for (std::size_t i = 0; strings != nullptr && i < strings->size(); ++i) addString((*strings)[i]);
}

void Layer::WriteHeader(std::span<std::uint8_t> record, const record_header_t& header) const {
  platform::StoreLe32(record, MARKER_AT, RECORD_MARKER);
  platform::StoreLe32(record, MARKER_AT + WORD, 0);
  platform::StoreLe32(record, COMMAND_AT, header.command);
  platform::StoreLe32(record, FIRST_ARGUMENT_AT, static_cast<std::uint32_t>(header.firstArgument));
  platform::StoreLe32(record, LAYER_AT, static_cast<std::uint32_t>(id_));
  platform::StoreLe32(record, SECOND_ARGUMENT_AT, static_cast<std::uint32_t>(header.secondArgument));
  platform::StoreLe32(record, DATA_LENGTH_AT, static_cast<std::uint32_t>(RoundUpToWord(header.dataLength)));
}

}  // namespace Compositing
