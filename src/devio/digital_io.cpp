#include "src/devio/digital_io.h"

#include <algorithm>
#include <chrono>
#include <string>
#include <thread>

#include <fcntl.h>

#include "platform/byte_order.h"
#include "platform/device.h"

#include "src/core/console.h"
#include "src/core/sharing.h"
#include "src/core/worker.h"
#include "src/services/dbshm.h"

namespace {

constexpr int PRIORITY = 11;
constexpr int PAUSE_MS = 10;  // pace of the loop, and interval at which a long beep checks the stop request
constexpr int MS_PER_DURATION = 10;
constexpr int MAX_DURATION = 60'000;  // ten minutes; the host's field holds 255

constexpr int DURATION_SILENT = 0;
constexpr int DURATION_CONTINUOUS = 255;
constexpr int KEY_CLICK_DURATION = 5;

constexpr std::uint16_t BEEPER_OUTPUT = 0x20;

// The values of the database variable for the beeper.
constexpr double IMAGE_SILENT = 0.0;
constexpr double IMAGE_PULSE = 1.0;
constexpr double IMAGE_CONTINUOUS = 2.0;

void SwitchBeeper(const beeper_device_t& device, bool on) {
  std::array<std::uint8_t, 8> command{};
  platform::StoreLe16(command, 0, BEEPER_OUTPUT);
  platform::StoreLeFloat(command, 4, on ? 1.0F : 0.0F);
  device.write(command);
}

void ShowBeeper(const orvikData_t* data, double image) {
  DBSHM::Write(data->variables.beepImage, image);
}

int BeepTime(orvikData_t* data) {
  const MutexGuard lock(data->beeperMutex);
  return std::clamp(data->beeperDuration, 0, MAX_DURATION) * MS_PER_DURATION;
}

// Keeps an alarm that the host has set during the beep.
void EndSingleBeep(orvikData_t* data) {
  const MutexGuard lock(data->beeperMutex);
  if (data->beeperState == BEEPER_SINGLE) data->beeperState = BEEPER_SILENT;
}

void SetBeeperState(orvikData_t* data, int state, int duration) {
  data->beeperState = state;
  data->beeperDuration = duration;
}

int OpenDigitalIO() {
  const int descriptor = platform::OpenDevice(DIGITAL_IO_DEVICE, O_RDWR);
  if (descriptor < 1) {
    PrintErr(std::string("ERRROR - UNABLE TO OPEN ") + DIGITAL_IO_DEVICE);
  } else {
    PrintOut("Digital I/O device opended");
  }
  return descriptor;
}

const beep_clock_t CLOCK = {
    [] { return std::chrono::steady_clock::now(); },
    [](std::chrono::steady_clock::time_point end) { std::this_thread::sleep_until(end); },
};

constexpr worker_t DIGITAL_IO = {.slot = THREAD_DIO,
                                 .name = "DigitalIO",
                                 .priority = PRIORITY,
                                 .readyLine = "Orvik: Digital_IO initialization complete",
                                 .exitLine = "Orvik: DigitalIO thread EXIT"};

// Without the device the worker goes on writing the beeper's state to the database.
class DigitalIOTask : public WorkerTask {
 public:
  explicit DigitalIOTask(orvikData_t* data) : data_(data), descriptor_(OpenDigitalIO()) {}
  ~DigitalIOTask() override {
    SwitchBeeper(device_, false);
    if (descriptor_ >= 1) platform::CloseDevice(descriptor_);
  }

  void Begin() override {
    const MutexGuard lock(data_->beeperMutex);
    data_->beeperState = BEEPER_SILENT;
  }
  bool Step() override {
    BeeperStep(data_, device_);
    return true;
  }

 private:
  orvikData_t* data_;
  int descriptor_;
  beeper_device_t device_{
      [this](const auto& command) { platform::WriteDevice(descriptor_, command.data(), command.size()); },
      [this](int milliseconds) { WaitUnlessStopped(data_, milliseconds, CLOCK); }};
};

void* DigitalIOThreadFn(void* record) {
  return RunWorker<DigitalIOTask>(DIGITAL_IO, record);
}

}  // namespace

int Init_DIO(orvikData_t* data) {
  return StartWorker(DIGITAL_IO, DigitalIOThreadFn, data);
}

void SetBeeper(orvikData_t* data, int type, int duration) {
  const MutexGuard lock(data->beeperMutex);
  switch (type) {
    case BEEPER_CONTINUOUS:
    case BEEPER_SILENT:
      return SetBeeperState(data, type, 0);
    case BEEPER_SINGLE:
      if (data->beeperState == BEEPER_CONTINUOUS || data->beeperState == BEEPER_PULSE) return;
      return SetBeeperState(data, type, duration);
    case BEEPER_PULSE:
      return SetBeeperState(data, type, duration);
    default:
      PrintErr("Orvik: SetBeeper ERROR!  Unknown type " + std::to_string(type));
  }
}

void SetBeeperDuration(orvikData_t* data, int duration) {
  if (duration == DURATION_SILENT) {
    SetBeeper(data, BEEPER_SILENT, 0);
  } else if (duration == DURATION_CONTINUOUS) {
    SetBeeper(data, BEEPER_CONTINUOUS, 0);
  } else {
    SetBeeper(data, BEEPER_PULSE, duration);
  }
}

void SetBeeperKeyPress(orvikData_t* data) {
  SetBeeper(data, BEEPER_SINGLE, KEY_CLICK_DURATION);
}

void WaitUnlessStopped(const orvikData_t* data, int milliseconds, const beep_clock_t& clock) {
  const auto slice = std::chrono::milliseconds(PAUSE_MS);
  auto now = clock.now();
  const auto end = now + std::chrono::milliseconds(milliseconds);
  for (; now < end && data->dioExit == 0; now = clock.now()) clock.sleepUntil(std::min(now + slice, end));
}

void BeeperStep(orvikData_t* data, const beeper_device_t& device) {
  const int time = BeepTime(data);
  switch (data->beeperState) {
    case BEEPER_SINGLE:
      SwitchBeeper(device, true);
      device.sleep(time);
      SwitchBeeper(device, false);
      return EndSingleBeep(data);
    case BEEPER_PULSE:
      ShowBeeper(data, IMAGE_PULSE);
      SwitchBeeper(device, true);
      device.sleep(time);
      SwitchBeeper(device, false);
      return device.sleep(std::max(time, PAUSE_MS));  // a pulse of length 0 must not use a whole processor
    case BEEPER_CONTINUOUS:
      ShowBeeper(data, IMAGE_CONTINUOUS);
      SwitchBeeper(device, true);
      return device.sleep(PAUSE_MS);
    default:
      ShowBeeper(data, IMAGE_SILENT);
      SwitchBeeper(device, false);
      return device.sleep(PAUSE_MS);
  }
}
