// Records the history of the running unit on threads of its own.
#pragma once

#include "unit/health/subscriber.h"
#include "unit/history/history.h"
#include "unit/screen/client/screen_client.h"

namespace unit {

// The subscriber's thread takes the messages of the screen service and of the board, and asks the screen
// service for the whole screen. That may take SCREEN_LIMIT. Nothing waits for this thread.
class HistoryRecorder : public HistorySource {
 public:
  HistoryRecorder();
  ~HistoryRecorder() override;

  std::string Overview(std::int64_t after_ms) override { return history_.Overview(after_ms); }
  std::string Screens(std::uint64_t number) override { return history_.Screens(number); }

 private:
  ScreenClient screen_;
  History history_;
  Subscriber subscriber_;
};

}  // namespace unit
