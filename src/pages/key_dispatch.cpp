#include "src/pages/key_dispatch.h"

#include <algorithm>
#include <string>

#include "src/core/console.h"
#include "src/core/name_tables.h"
#include "src/devio/digital_io.h"
#include "src/dials/dials.h"
#include "src/pages/key_commands.h"
#include "src/pages/key_report.h"
#include "src/pages/page_tables.h"

namespace {

constexpr int INFO_REPORT = 0xFF;

void ReportPress(orvikData_t* data, const Pkey_t& key) {
  data->lastPressedEvent = key.event;
  data->lastPressedEventName = EventName(key.event).data();
  SetQMT740KeyPressed(data, key.targetKey);
  if (key.targetKey == HOST_KEY_INFO) data->keyReport2 = INFO_REPORT;
}

// Reports a host key. Returns whether the page event and the command follow.
bool HandleHostKey(orvikData_t* data, const Pkey_t& key, unsigned char event) {
  if (key.targetKey == HOST_KEY_NONE) return event != KEY_RELEASED;
  if (event == KEY_RELEASED) {
    ClearKeyReport(data);  // even while another key is still held
    return false;
  }
  if (event == KEY_PRESSED) {
    ReportPress(data, key);
  } else {
    PrintOut("ERROR!  Unknown key event " + std::to_string(event));
  }
  return true;
}

void PostPageEvent(orvikData_t* data, const Pkey_t& key) {
  SetBeeperKeyPress(data);
  if (key.targetKey == HOST_KEY_NONE && key.event == EVENT_DIALS_TO_MAIN) ClearLayer(data);
  PostEvent(data, std::string(EventName(key.event)));
}

}  // namespace

void DispatchKey(orvikData_t* data, const Page_t* /*page*/, const Pkey_t* key, unsigned char event) {
  if (!HandleHostKey(data, *key, event)) return;
  if (key->event != EVENT_ID_NONE) PostPageEvent(data, *key);
  if (key->command == 0) return;
  SetBeeperKeyPress(data);
  RunKeyCommand(data, key->command);
}

void MatrixDispatch(orvikData_t* data, unsigned char platformKey, unsigned char keyEvent) {
  // The page may have changed since the press, so that the release finds another binding or none.
  if (keyEvent == KEY_RELEASED) data->keyStatus = 0;
  if (data->target.pages.empty()) {
    PrintErr("ERROR!  There are no pages");
    return;
  }
  const int pageId = CurrentPageId(data);
  const Page_t* page = FindPage(data, pageId);
  if (page == nullptr) {
    PrintErr("ERROR! I have no idea what the current page is " + std::to_string(pageId));
    return;
  }
  DispatchPage(data, page, platformKey, keyEvent);
}

void DispatchPage(orvikData_t* data, const Page_t* page, unsigned char platformKey, unsigned char keyEvent) {
  const std::string name(ActionName(page->pageId));
  if (page->keys.empty()) {
    PrintErr("ERROR! " + name + " page has no keys assigned to it");
    return;
  }
  const auto found = std::find_if(page->keys.begin(), page->keys.end(),
                                  [platformKey](const Pkey_t& key) { return key.platformKey == platformKey; });
  if (found == page->keys.end()) {
    PrintOut("NOTE.  Platform key code " + std::to_string(platformKey) + " has no function on the " + name +
             " page");
    return;
  }
  DispatchKey(data, page, &*found, keyEvent);
}
