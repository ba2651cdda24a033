// The pictures of boom and swing on the drawing layer, as a compositor receives them.
#include "src/dials/dials.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

#include <gtest/gtest.h>

#include "src/compositing/compositor_messages.h"
#include "src/core/name_tables.h"
#include "src/display/dispatcher.h"
#include "src/pages/action_channel.h"
#include "src/pages/key_dispatch.h"
#include "src/pages/page_tables.h"
#include "tests/support/console_capture.h"
#include "tests/support/fake_service.h"
#include "tests/support/test_record.h"

namespace {

constexpr int CLEAR_LAYER_ACTION = 100;

bool Names(const bytes_t& frame, std::string_view picture) {
  return std::search(frame.begin(), frame.end(), picture.begin(), picture.end()) != frame.end();
}

class DialsTest : public testing::Test {
 protected:
  DialsTest() : compositor_(Compositing::SERVER_NAME, [](const bytes_t&) { return Words({0}); }) {
    data_->actionIds[std::string(ActionName(ACTION_CLEAR_LAYER))] = CLEAR_LAYER_ACTION;
    InitPages(data_);
    InitLayer(data_);
    ShowPageAnew(ACTION_PAGE_DIALS);
  }

  // As the dispatcher sees it: the other page for a cycle, then this one. Leaves no frame to take.
  void ShowPageAnew(int pageId) {
    data_->currentPage = FindPage(data_, ACTION_PAGE_MAIN);
    UpdateDisplay(data_);
    compositor_.DrainRequests();
    data_->currentPage = FindPage(data_, pageId);
  }

  // The pictures of the last frame since the last call; nothing when the layer was not drawn.
  std::optional<std::string> TakeFrame() {
    const std::vector<bytes_t> frames = compositor_.DrainRequests();
    if (frames.empty()) return std::nullopt;
    std::string pictures;
    if (Names(frames.back(), BOOM_PICTURE)) pictures += "boom";
    if (Names(frames.back(), SWING_PICTURE)) pictures += "swing";
    return pictures;
  }

  std::optional<std::string> RunCycle() {
    UpdateDisplay(data_);
    return TakeFrame();
  }

  ConsoleCapture console_;
  TestRecord data_;  // makes the runtime directory, which the compositor needs
  FakeService compositor_;
};

TEST_F(DialsTest, LeavingThePageLeavesTheLayerEmpty) {
  const auto showMain = [this] {
    data_->currentPage = FindPage(data_, ACTION_PAGE_MAIN);
    UpdateDisplay(data_);
  };
  const std::pair<const char*, std::function<void()>> cases[] = {
      {"key 7", [this] { MatrixDispatch(data_, KD620_KEY7, KEY_PRESSED); }},
      {"the action of the screen service", [this] { HandleAction(data_, CLEAR_LAYER_ACTION); }},
      {"another page", showMain},
  };
  for (const auto& [name, leave] : cases) {
    SCOPED_TRACE(name);
    data_->angle = 40;
    ShowPageAnew(ACTION_PAGE_DIALS);
    EXPECT_EQ(RunCycle(), "boomswing");
    leave();
    EXPECT_EQ(TakeFrame(), "");
    data_->angle = 41;
    EXPECT_EQ(RunCycle(), std::nullopt) << "drawn again before the next page is shown";
    showMain();
    EXPECT_EQ(TakeFrame(), std::nullopt);
    data_->currentPage = FindPage(data_, ACTION_PAGE_DIALS);
    EXPECT_EQ(RunCycle(), "boomswing");
  }
}

TEST_F(DialsTest, APictureWhoseValueIsNotKnownIsLeftOut) {
  constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();
  constexpr double FAILED_SENSOR = 32767;
  const std::tuple<double, double, const char*> cases[] = {
      {40, -180, "boomswing"},          {NOT_A_NUMBER, 90, "swing"}, {40, NOT_A_NUMBER, "boom"},
      {FAILED_SENSOR, 90, "swing"},     {40, FAILED_SENSOR, "boom"}, {-FAILED_SENSOR, 361, ""},
      {NOT_A_NUMBER, NOT_A_NUMBER, ""},
  };
  for (const auto& [angle, swing, pictures] : cases) {
    SCOPED_TRACE(testing::PrintToString(std::pair(angle, swing)));
    data_->angle = angle;
    data_->swing = swing;
    ShowPageAnew(ACTION_PAGE_DIALS);
    EXPECT_EQ(RunCycle(), pictures);
    EXPECT_EQ(RunCycle(), std::nullopt) << "drawn again, though nothing has changed";
  }
}

}  // namespace
