#include "src/pages/action_channel.h"

#include <chrono>
#include <string>
#include <thread>

#include "platform/byte_order.h"

#include "src/core/console.h"
#include "src/core/name_tables.h"
#include "src/core/worker.h"
#include "src/devio/digital_io.h"
#include "src/dials/dials.h"
#include "src/hostlink/can_transport.h"
#include "src/pages/key_dispatch.h"
#include "src/pages/key_report.h"
#include "src/pages/page_tables.h"
#include "src/services/dbshm.h"

namespace {

using std::chrono::milliseconds;

constexpr milliseconds CLEAR_PAUSE{200};
constexpr milliseconds FAULT_PAUSE{10};

// Whether the configuration maps the action's name to this number. A name without a number matches nothing.
bool IsAction(const orvikData_t* data, std::uint32_t action, int actionId) {
  const auto found = data->actionIds.find(std::string(ActionName(actionId)));
  return found != data->actionIds.end() && static_cast<std::uint32_t>(found->second) == action;
}

bool ShowPage(orvikData_t* data, std::uint32_t action) {
  for (const Page_t& page : data->target.pages) {
    if (!IsAction(data, action, page.pageId)) continue;
    data->currentPage = &page;
    if (page.pageId == ACTION_PAGE_SPLASH) data->splashShown = 1;
    return true;
  }
  return false;
}

unsigned char ReadKeyCode(unsigned handle) {
  double value = 0;
  DBSHM::Read(handle, value);
  return value >= 0 && value <= 255 ? static_cast<unsigned char>(value) : 0;
}

void DispatchExternalKey(orvikData_t* data) {
  double keyState = 0;
  double internalKey = 0;  // part of the interface with the unit's keys; not used
  DBSHM::Read(data->variables.externalKeysEnabled, keyState);
  DBSHM::Read(data->variables.internalSystemKeyCode, internalKey);
  const unsigned char keyCode = ReadKeyCode(data->variables.externalSystemKeyCode);
  if (keyState != 0 && keyCode != 0) {
    MatrixDispatch(data, keyCode, KEY_PRESSED);
  } else if (keyState != 0) {
    ClearKeyReport(data);
    MatrixDispatch(data, keyCode, KEY_RELEASED);
  } else if (keyCode != 0) {
    SetBeeperKeyPress(data);
  }
}

void ClearLayerAndPause(orvikData_t* data) {
  ClearLayer(data);
  std::this_thread::sleep_for(CLEAR_PAUSE);
}

void IgnoreAction(orvikData_t* /*data*/) {}

struct action_handler_t {
  int actionId;
  void (*act)(orvikData_t*);
};

// Tried in this order; the first match counts.
constexpr action_handler_t ACTIONS[] = {
    {ACTION_IGNITION_ON, InitCANFilters},
    {ACTION_IGNITION_OFF, IgnoreAction},
    {ACTION_MAIN_ENABLE_INDEPTH, IgnoreAction},
    {ACTION_MAIN_DISABLE_INDEPTH, IgnoreAction},
    {ACTION_MAIN_ENABLE_INCLINOMETER, IgnoreAction},
    {ACTION_MAIN_DISABLE_INCLINOMETER, IgnoreAction},
    {ACTION_MAIN_ENABLE_HYDRAULICS, IgnoreAction},
    {ACTION_MAIN_DISABLE_HYDRAULICS, IgnoreAction},
    {ACTION_KEY_PRESS_CHANGED, DispatchExternalKey},
    {ACTION_CLEAR_LAYER, ClearLayerAndPause},
    {ACTION_PAGE_DIALS_REFRESH, RefreshPageDials},
};

// Creates the client and subscribes the action channel. Returns the channel's number, which is the first word
// of each message for this receiver.
int Subscribe(orvikData_t* data) {
  auto* client = new NM::NMClient();
  data->actionNmClient = client;
  const int channel = client->registerName(data->actionChannelName.c_str());
  client->subscribe(channel);
  return channel;
}

// Receives and handles one message. False when the thread is to end.
bool ReceiveAction(orvikData_t* data, NM::NMClient& client, int registration) {
  std::array<char, ACTION_MESSAGE_SIZE> buffer{};
  int channel = -1;
  const int received = client.recvMsg(channel, buffer.data(), static_cast<int>(buffer.size()));
  if (received < 0) std::this_thread::sleep_for(FAULT_PAUSE);  // without a manager recvMsg fails at once
  if (received < 1) return true;
  std::array<std::uint8_t, ACTION_MESSAGE_SIZE> message{};
  std::copy(buffer.begin(), buffer.end(), message.begin());
  if (platform::LoadLe32(message, 0) != static_cast<std::uint32_t>(registration)) return true;
  return HandleAction(data, platform::LoadLe32(message, 4));
}

constexpr worker_t ACTION_CHANNEL = {.slot = THREAD_ACTION_CHANNEL,
                                     .name = "Action Channel",
                                     .readyLine = "Orvik: Action channel initialization complete",
                                     .exitLine = "Orvik: Receive Action thread EXIT"};

// Each step waits for one action and handles it.
class ActionTask : public WorkerTask {
 public:
  explicit ActionTask(orvikData_t* data) : data_(data), registration_(Subscribe(data)) { DBSHM::Open(); }
  bool Step() override { return ReceiveAction(data_, *data_->actionNmClient, registration_); }

 private:
  orvikData_t* data_;
  int registration_;
};

}  // namespace

bool HandleAction(orvikData_t* data, std::uint32_t action) {
  if (ShowPage(data, action)) return true;
  if (IsAction(data, action, ACTION_EXIT_APPLICATION)) return false;
  for (const action_handler_t& entry : ACTIONS) {
    if (!IsAction(data, action, entry.actionId)) continue;
    entry.act(data);
    return true;
  }
  PrintErr("Orvik: ERROR!  received unknown action " + std::to_string(action));
  return true;
}

void* ActionChannelThreadFn(void* record) {
  return RunWorker<ActionTask>(ACTION_CHANNEL, record);
}

int Init_ActionChannel(orvikData_t* data) {
  return StartWorker(ACTION_CHANNEL, ActionChannelThreadFn, data);
}
