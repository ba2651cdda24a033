// One drawing layer of the compositor: queues drawing commands and sends them frame by frame.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "src/compositing/compositor_messages.h"

namespace Compositing {

class DrawingObject;

// A video source and its rectangle on the screen, in pixels.
struct VideoInfo_t {
  std::int32_t x = 0, y = 0, width = 0, height = 0;
  std::int32_t source = 0;
};

// Any thread may call any operation but addCommand, addParameters and addString; the operations hold the
// layer's lock. draw() blocks for the compositor's reply; the others only wait for the lock. Without a
// compositor all operations work, and nothing is shown.
class Layer {
 public:
  // Connects to the compositor and creates the layer there. Prints "compGraphLib: MsgSend Error: " and the
  // error number on standard error when that fails.
  Layer(int id, LayerType_t type);
  ~Layer();
  Layer(const Layer&) = delete;
  Layer& operator=(const Layer&) = delete;

  bool isConnected() const { return connected_; }
  int GetId() const { return id_; }

  // The current layer is the one that new drawing objects join; null when there is none.
  void setToCurrentLayer();
  static Layer* GetCurrentLayer();
  // Returns the object's id, 1 or more; no other object of the layer has it while this one exists.
  int addDrawingObj(DrawingObject* object);
  void deleteDrawingObj(int objectId);

  // Sends the frame and starts the next one. A reply other than 0 means that the compositor cannot draw the
  // layer. The calling thread then prints the reply and never returns: the screen would go on showing an
  // outdated picture, and the missing heartbeat lets the unit report the fault.
  void draw();
  // DRAW_FRAME ends the frame as draw() does; DRAW_APPEND sends the queued commands as a part of it. With
  // `beginNext` the queue then holds the start of the next frame, otherwise it is empty.
  void draw(DrawType_t type, bool beginNext);

  void glPushAndTranslate(float x, float y, float z);
  void glPush();
  void glPop();
  void glRotate(float a, float x, float y, float z);
  void glScale(float x, float y, float z);
  void setColor(float r, float g, float b, float a);
  void clearTexture();
  void enable(int what);
  void disable(int what);
  void preloadImages(const std::string& names);
  void drawText();
  void capture(const char* fileName);
  void video(const VideoInfo_t* info);

  // Queue the header of a record, and its data, which must follow directly. Only for a thread that is the only
  // user of the layer.
  void addCommand(cmd_t command, int firstArgument, int secondArgument, int dataLength);
  void addParameters(const std::uint8_t* bytes, int length);  // drops data that does not fit
  void addString(std::string_view text);  // with its 0 byte; drops a string that does not fit
  // Queues a whole record. A record that would leave less room than its own size is reported, and its header is
  // not queued.
  void addCommandWithParameters(cmd_t command, int firstArgument, int secondArgument, int length,
                                const std::uint8_t* bytes, const std::vector<std::string>* strings);

  // Part of the interface; these do nothing on the client's side.
  int storeCommands(char*, int, bool) { return 0; }
  void processCommands() {}
  void purgeTextures() {}
  std::array<float, 3> getCurrentWindowCoords() const { return {0.0F, 0.0F, 0.0F}; }

  // The bytes queued so far, for tests. No other thread may use the layer meanwhile.
  std::span<const std::uint8_t> Queued() const { return {queue_.data(), used_}; }

 private:
  struct record_header_t {
    cmd_t command;
    int firstArgument, secondArgument;
    std::size_t dataLength;
  };
  struct layer_reply_t {
    int error;            // error number when there is no reply, else 0
    std::int32_t status;  // the reply
  };
  int Connect();
  int SendSingleRecord(cmd_t command, int firstArgument) const;
  layer_reply_t Send(std::span<const std::uint8_t> records) const;
  void SendFrame();
  void Operate(operation_t operation, std::span<const float> arguments = {});
  void OperateInt(operation_t operation, int argument);
  void Append(std::span<const std::uint8_t> bytes);
  void WriteHeader(std::span<std::uint8_t> record, const record_header_t& header) const;

  const int id_;
  const LayerType_t type_;
  int coid_ = -1;
  std::atomic<bool> connected_{false};
  std::recursive_mutex mutex_;  // guards all below, and coid_
  std::chrono::steady_clock::time_point nextTry_;
  std::vector<std::uint8_t> queue_;
  std::size_t used_ = 0;
  std::map<int, DrawingObject*> objects_;
};

}  // namespace Compositing
