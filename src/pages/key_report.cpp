#include "src/pages/key_report.h"

#include <string>

#include "src/core/console.h"
#include "src/devio/digital_io.h"
#include "src/pages/page_tables.h"

namespace {

constexpr int LAST_HOST_KEY = 22;

void ReportHostKey(orvikData_t* data, int hostKey) {
  const std::uint32_t mask = data->keyMasks[static_cast<std::size_t>(hostKey)];
  if (mask == KEY_NOT_VALID) return;
  addKeyData(data, static_cast<unsigned char>(hostKey));
  data->keyReport1 = hostKey;
  data->keyStatus = static_cast<std::uint8_t>(hostKey);
  if (mask != KEY_NO_BEEP) SetBeeperKeyPress(data);
}

}  // namespace

void SetQMT740KeyPressed(orvikData_t* data, int hostKey) {
  if (hostKey == 0) {
    data->keyStatus = 0;
  } else if (hostKey > 0 && hostKey <= LAST_HOST_KEY) {
    ReportHostKey(data, hostKey);
  } else {
    PrintErr("********** ERROR! Undefined Key State: " + std::to_string(hostKey));
  }
}

void ClearKeyReport(orvikData_t* data) {
  data->keyReport1 = 0;
  data->keyReport2 = 0;
  data->keyStatus = 0;
}
