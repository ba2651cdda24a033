// The client of the screen service: sets texts, positions and colours of prepared widgets by handle.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "src/screenapi/screen_messages.h"
#include "src/services/nm_client.h"

// Each operation builds one message (screen_messages.h) in the object's one buffer and publishes it at once;
// the service applies what it has received at processCommands. Any thread may call any operation: the buffer
// has a lock of its own, held until the notification manager has the message. Nothing is reported back. A text
// that does not fit SCREEN_MESSAGE_SIZE with its header and end byte is dropped without a word. No operation
// allocates.
class ScreenApi {
 public:
  // Connects to the notification manager. An object that could not connect does nothing.
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
  // The message does not name the widget: its target word is 0, as the service expects.
  void setAlternate(int handle, int alternate);

 private:
  class Message;
  void SendText(int handle, const std::string& text, int attribute);

  std::unique_ptr<NM::NMClient> client_;
  int connection_ = -1;
  std::mutex mutex_;  // guards buffer_ from the first byte until it is sent
  std::unique_ptr<std::uint8_t[]> buffer_;
  bool ready_ = false;
};
