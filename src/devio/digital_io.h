// The beeper, an output of the digital I/O device, and the thread that drives it.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>

#include "src/core/orvik_data.h"

// Beeper states of the record, and the type argument of SetBeeper.
enum beeper_state_t : int {
  BEEPER_CONTINUOUS = 0,
  BEEPER_SILENT = 1,
  BEEPER_SINGLE = 2,  // one beep of beeperDuration is pending
  BEEPER_PULSE = 3,   // beeperDuration on, beeperDuration off, repeated
};

constexpr const char* DIGITAL_IO_DEVICE = "/dev/io_interface";

// Starts the thread "DigitalIO". Returns 0, or the error number of the failed start.
int Init_DIO(orvikData_t* data);

// Sets the beeper; `type` is a beeper_state_t, `duration` in units of 10 ms. The change takes effect after the
// present beep. A single beep does not change a continuous or pulsing beeper. An unknown type is reported on
// standard error and changes nothing. Any thread; locks beeperMutex.
void SetBeeper(orvikData_t* data, int type, int duration);
// 0 silences the beeper, 255 sounds it until the next change, any other duration pulses it. Any thread.
void SetBeeperDuration(orvikData_t* data, int duration);
// Sounds the 50 ms click of an accepted key press. Any thread.
void SetBeeperKeyPress(orvikData_t* data);

// The clock by which a beep's length is kept.
struct beep_clock_t {
  std::function<std::chrono::steady_clock::time_point()> now;
  std::function<void(std::chrono::steady_clock::time_point end)> sleepUntil;
};
// Waits in slices of 10 ms until the length has passed or dioExit is set. The end is fixed at the call, so that
// sleeps which the system rounds up do not add up to a longer beep.
void WaitUnlessStopped(const orvikData_t* data, int milliseconds, const beep_clock_t& clock);

// What one step needs from outside: where commands go, and how time passes. The device takes 8 bytes a command.
struct beeper_device_t {
  std::function<void(const std::array<std::uint8_t, 8>& command)> write;
  std::function<void(int milliseconds)> sleep;
};
// One turn of the DigitalIO thread: writes the beeper's state to the database and sounds the beeper for one
// turn.
void BeeperStep(orvikData_t* data, const beeper_device_t& device);
