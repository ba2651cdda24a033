#include "unit/history/history_recorder.h"

#include <chrono>
#include <string>

#include "unit/screen/client/screen_requests.h"
#include "unit/service/service.h"

namespace unit {
namespace {

constexpr std::chrono::seconds SCREEN_LIMIT{1};

}  // namespace

HistoryRecorder::HistoryRecorder()
    : screen_(SCREEN_LIMIT),
      history_([this](std::string& state) { return screen_.Ask(SCREEN_REQUEST_STATE, state); },
               [] { return std::chrono::steady_clock::now(); }),
      subscriber_(
          {SCREEN_CHANGES_CHANNEL_NAME, BOARD_CHANNEL_NAME},
          [this](std::size_t channel, auto payload) {
            const std::string text(payload.begin(), payload.end());
            channel == 0 ? history_.AcceptScreen(text) : history_.AcceptBoard(text);
          },
          [this] { history_.AcceptReconnect(); }) {}

// A wait for the screen service ends, so that the subscriber's thread can end.
HistoryRecorder::~HistoryRecorder() {
  screen_.Close();
}

}  // namespace unit
