#include "src/core/orvik_data.h"

#include <array>

#include "platform/byte_order.h"

#include "src/compositing/layer.h"
#include "src/core/name_tables.h"
#include "src/screenapi/screen_api.h"

PlainWord<int> orvikStop;

orvikData_t::orvikData_t()
    : canReady(threadRunning[THREAD_CAN]),
      canExit(threadStop[THREAD_CAN]),
      decapReady(threadRunning[THREAD_DECAPSULATE]),
      decapExit(threadStop[THREAD_DECAPSULATE]),
      parseReady(threadRunning[THREAD_PARSE]),
      parseExit(threadStop[THREAD_PARSE]),
      watchdogReady(threadRunning[THREAD_WATCHDOG]),
      watchdogExit(threadStop[THREAD_WATCHDOG]),
      dioReady(threadRunning[THREAD_DIO]),
      dioExit(threadStop[THREAD_DIO]),
      blinkerReady(threadRunning[THREAD_BLINKER]),
      blinkerExit(threadStop[THREAD_BLINKER]),
      timerReady(threadRunning[THREAD_TIMER]),
      timerExit(threadStop[THREAD_TIMER]),
      dispatchReady(threadRunning[THREAD_DISPATCH]),
      dispatchExit(threadStop[THREAD_DISPATCH]),
      actionReady(threadRunning[THREAD_ACTION_CHANNEL]),
      actionExit(threadStop[THREAD_ACTION_CHANNEL]),
      keypadReady(threadRunning[THREAD_KEYPAD]),
      keypadExit(threadStop[THREAD_KEYPAD]) {}

orvikData_t::~orvikData_t() {
  for (NM::NMClient* client :
       {nmClient, canNmClient.load(), spareNmClients[0], spareNmClients[1], actionNmClient.load()}) {
    delete client;
  }
}

int FindEventId(const orvikData_t* data, const std::string& name) {
  const auto found = data->eventIds.find(name);
  return found == data->eventIds.end() ? 0 : found->second;
}

void PostEventId(orvikData_t* data, int eventId) {
  if (data->nmClient == nullptr) return;
  std::array<std::uint8_t, 4> number{};
  platform::StoreLe32(number, 0, static_cast<std::uint32_t>(eventId));
  std::array<char, 4> payload{};
  std::copy(number.begin(), number.end(), payload.begin());
  data->nmClient->sendMsg(data->eventChannel, payload.data(), static_cast<int>(payload.size()));
}

void PostEvent(orvikData_t* data, const std::string& name) {
  PostEventId(data, FindEventId(data, name));
}

int CurrentPageId(const orvikData_t* data) {
  const Page_t* page = data->currentPage;
  return page == nullptr ? ACTION_PAGE_NONE : page->pageId;
}
