#include "src/display/init_display.h"

#include <algorithm>
#include <atomic>
#include <memory>

#include "src/core/sharing.h"
#include "src/dials/dials.h"
#include "src/display/system_message.h"
#include "src/screenapi/screen_api.h"
#include "src/text/fields.h"
#include "src/text/system_text.h"

namespace {

constexpr const char* BLANK = " ";

std::atomic<bool> firstTime{true};

void CreateScreenClient(orvikData_t* data) {
  data->screenApis.push_back(std::make_unique<ScreenApi>());
  data->screenApi = data->screenApis.back().get();
}

void BlankLines(ScreenApi& screen, const orvikData_t* data) {
  const gauge_handles_t& g = data->gauges;
  const gauge_handles_t::line_set_t* const sets[] = {
      &g.operatingStd,  &g.operatingWide,  &g.choice4TopStd,  &g.choice4MidStd,
      &g.choice4BotStd, &g.choice4TopWide, &g.choice4MidWide, &g.choice4BotWide,
      &g.wadStd,        &g.wadWide,        &g.slateStd,       &g.slateWide,
  };
  const auto lines = static_cast<std::size_t>(std::clamp(data->lcdRows.Load(), 0, GRID_LINES));
  for (std::size_t line = 0; line < lines; ++line) {
    for (const auto* set : sets) screen.setTextGauge(static_cast<int>((*set)[line]), BLANK, 0);
  }
}

void BlankLabels(ScreenApi& screen, const orvikData_t* data) {
  const gauge_handles_t& g = data->gauges;
  for (const unsigned handle : {g.flashMsgStd, g.flashMsgWide, g.mainErectedStd, g.mainStowedStd,
                                g.configErectedStd, g.configStowedStd}) {
    screen.setTextGauge(static_cast<int>(handle), BLANK, 0);
  }
}

void InitAllFieldsLocked(orvikData_t* data) {
  const MutexGuard guard(data->displayMutex);
  InitAllFields();
  ForgetSystemText();
}

}  // namespace

void InitDisplay(orvikData_t* data) {
  InitLayer(data);
  CreateScreenClient(data);
  if (firstTime.exchange(false)) {
    BlankLines(*data->screenApi, data);
    BlankLabels(*data->screenApi, data);
    ReadPictureSizes();
  }
  InitAllFieldsLocked(data);
  DisplayWatchdogMessage(data, START_UP_TEXT);
}
