// The client of the screen service: sets texts, positions and colours of the design's widgets by their handles.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "src/screenapi/screen_messages.h"
#include "src/services/nm_client.h"

// Each operation writes one message (screen_messages.h) into the object's buffer and publishes it. The service
// applies the messages at processCommands. Any thread may call any operation; it blocks for one round trip to
// the notification manager while it holds the buffer's lock. Nothing is reported back. A text that does not fit
// SCREEN_MESSAGE_SIZE together with its header and end byte is dropped silently. No operation allocates memory.
class ScreenApi {
 public:
  // Connects to the notification manager. If that fails, all operations do nothing.
  ScreenApi();
  ~ScreenApi();
  ScreenApi(const ScreenApi&) = delete;
  ScreenApi& operator=(const ScreenApi&) = delete;

  // `attribute` is a screen_text_attribute_t.
  void setText(const int& handle, const std::string& text, const int& attribute);
  void setTextWidget(int handle, const std::string& text);
  void setTextGauge(int handle, const std::string& text, int attribute);
  void setTextGauge(int handle, const std::string& text);
  void move(int handle, int x, int y);  // pixels of the screen
  void rotate(int handle, float a, float b, float c);
  void framerate(int rate);
  void processCommands();
  void show(int handle);
  void hide(int handle);
  void setColor(int handle, int which, float r, float g, float b, float a);
  // The service expects target word 0 here, so `handle` is not sent.
  void setAlternate(int handle, int alternate);

 private:
  class Message;
  void SendText(int handle, const std::string& text, int attribute);

  std::unique_ptr<NM::NMClient> client_;
  int connection_ = -1;
  std::mutex mutex_;  // guards buffer_; held from the first word until the message is sent
  std::unique_ptr<std::uint8_t[]> buffer_;
  bool ready_ = false;
};
