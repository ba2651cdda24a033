#include "src/pages/key_report.h"

#include <algorithm>
#include <string>

#include "src/core/console.h"
#include "src/core/name_tables.h"
#include "src/core/queues.h"
#include "src/devio/digital_io.h"

namespace {

void ReportHostKey(orvikData_t* data, int hostKey) {
  const std::uint32_t mask = data->keyMasks[static_cast<std::size_t>(hostKey)];
  if (mask == KEY_NOT_VALID) return;
  addKeyData(data, static_cast<unsigned char>(hostKey));
  data->keyReport1 = hostKey;
  data->keyStatus = static_cast<std::uint8_t>(hostKey);
  if (mask != KEY_NO_BEEP) SetBeeperKeyPress(data);
}

constexpr std::array<host_key_t, HOST_KEYS> MakeKeyMap() {
  std::array<host_key_t, HOST_KEYS> map{};
  for (std::uint32_t code = 0; code < HOST_KEYS - 1; ++code) map[code] = {code, KEY_BEEP_ONCE, 0, 0};
  return map;
}

const char* MaskMeaning(std::uint32_t mask) {
  switch (mask) {
    case KEY_NOT_VALID:
      return "NOT VALID";
    case KEY_NO_BEEP:
      return "NO BEEP";
    case KEY_BEEP_ONCE:
      return "BEEP ONCE";
    default:
      return "Unknown!";
  }
}

}  // namespace

void SetQMT740KeyPressed(orvikData_t* data, int hostKey) {
  if (hostKey == HOST_KEY_NONE) {
    data->keyStatus = 0;
  } else if (hostKey > HOST_KEY_NONE && hostKey <= HOST_KEY_MAN_BASKET) {
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

const std::array<host_key_t, HOST_KEYS> qmt740KeyMap = MakeKeyMap();

void SetValidKeys(orvikData_t* data, const unsigned char* mask, int n) {
  const auto count = static_cast<std::size_t>(std::clamp(n, 0, HOST_KEYS));
  for (std::size_t i = 0; i < count; ++i) data->keyMasks[i] = mask[i];
}

void DumpValidKeys(orvikData_t* data, int n) {
  PrintOut("Orvik: Dump Valid Keys");
  const auto count = static_cast<std::size_t>(std::clamp(n, 0, HOST_KEYS));
  for (std::size_t i = 0; i < count; ++i) {
    PrintOut(std::string(TARGET_KEY_NAMES[i]) + " : " + MaskMeaning(data->keyMasks[i]));
  }
}
