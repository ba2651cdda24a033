// One drawing layer of the compositor: commands are queued here and sent a frame at a time.
#pragma once

#include <array>
#include <atomic>
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

// What `video` shows: a source in a rectangle of the screen, in pixels.
struct VideoInfo_t {
  std::int32_t x = 0, y = 0, width = 0, height = 0;
  std::int32_t source = 0;
};

// All operations but addCommand, addParameters and addString may come from any thread, and so may draw(): they
// hold the layer's lock. Queueing never blocks; draw() blocks for the compositor's reply. Without a compositor
// everything works and nothing is shown.
class Layer {
 public:
  // Connects and announces the layer. Prints "compGraphLib: MsgSend Error: " and the error number on standard
  // error when that fails.
  Layer(int id, LayerType_t type);
  ~Layer();
  Layer(const Layer&) = delete;
  Layer& operator=(const Layer&) = delete;

  bool isConnected() const { return connected_; }
  int GetId() const { return id_; }

  // The layer that new drawing objects join; null when there is none.
  void setToCurrentLayer();
  static Layer* GetCurrentLayer();
  // Returns the object's id, 1 or more, which no other object of the layer has as long as this one is there.
  int addDrawingObj(DrawingObject* object);
  void deleteDrawingObj(int objectId);

  // Sends the frame and begins the next one. A reply other than 0 says that the compositor cannot draw the
  // layer: the calling thread prints it and stops there for good, by design, rather than show a wrong picture.
  void draw();
  // DRAW_FRAME ends the frame as draw() does, DRAW_APPEND sends what is queued as a part of it. `beginNext`
  // says whether the queue then holds the start of a frame or nothing.
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

  // A record's header alone; its data must follow with nothing in between, so that only a thread that has the
  // layer to itself may use these three.
  void addCommand(cmd_t command, int firstArgument, int secondArgument, int dataLength);
  void addParameters(const std::uint8_t* bytes, int length);  // dropped when it does not fit
  void addString(std::string_view text);                      // with its 0 byte; dropped when it does not fit
  // A whole record. Half the queue is kept in reserve: a record that would leave less room than it takes is
  // reported, and its header is not queued.
  void addCommandWithParameters(cmd_t command, int firstArgument, int secondArgument, int length,
                                const std::uint8_t* bytes, const std::vector<std::string>* strings);

  // Nothing is stored, read back or kept on this side of the connection.
  int storeCommands(char*, int, bool) { return 0; }
  void processCommands() {}
  void purgeTextures() {}
  std::array<float, 3> getCurrentWindowCoords() const { return {0.0F, 0.0F, 0.0F}; }

  // The bytes queued so far, for tests; no other thread may queue meanwhile.
  std::span<const std::uint8_t> Queued() const { return {queue_.data(), used_}; }

 private:
  struct header_t {
    cmd_t command;
    int firstArgument, secondArgument;
    std::size_t dataLength;
  };
  struct reply_t {
    int error;            // why there is no reply, or 0
    std::int32_t status;  // what the compositor replied
  };
  int Announce(cmd_t command, int firstArgument) const;
  reply_t Send(std::span<const std::uint8_t> records) const;
  void SendFrame();
  void Operate(operation_t operation, std::span<const float> arguments = {});
  void OperateInt(operation_t operation, int argument);
  void Append(std::span<const std::uint8_t> bytes);
  void StoreHeader(std::span<std::uint8_t> record, const header_t& header) const;

  const int id_;
  int coid_ = -1;
  std::atomic<bool> connected_{false};
  std::recursive_mutex mutex_;  // guards queue_, used_ and objects_
  std::vector<std::uint8_t> queue_;
  std::size_t used_ = 0;
  std::map<int, DrawingObject*> objects_;
};

}  // namespace Compositing
