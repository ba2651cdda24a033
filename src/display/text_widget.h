// A text widget that is told only what it does not show yet.
#pragma once

#include <string>

#include "src/core/orvik_data.h"
#include "src/screenapi/screen_api.h"
#include "src/screenapi/screen_messages.h"

// Keeps the last text sent and sends a different one to each of the handles.
class TextWidget {
 public:
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
