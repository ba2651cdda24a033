// A text widget that is sent a text only when the text has changed.
#pragma once

#include <string>

#include "src/core/orvik_data.h"
#include "src/screenapi/screen_api.h"
#include "src/screenapi/screen_messages.h"

// Keeps the text last sent. One thread uses an object.
class TextWidget {
 public:
  // Sends a changed text to each of the handles. `attribute` is a screen_text_attribute_t.
  template <class... Handles>
  void Show(orvikData_t* data, const std::string& text, int attribute, Handles... handles) {
    if (sent_ == text) return;
    ScreenApi* screen = data->screenApi;
    if (screen == nullptr) return;
    sent_ = text;
    (screen->setTextGauge(static_cast<int>(handles), text, attribute), ...);
  }

 private:
  std::string sent_;
};
