#include "src/startup/startup.h"

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <thread>

#include <sys/stat.h>

#include "platform/console_writer.h"
#include "platform/device_io.h"
#include "platform/paths.h"

#include "src/core/console.h"
#include "src/core/generic_config.h"
#include "src/devio/blinkers.h"
#include "src/devio/digital_io.h"
#include "src/devio/timer.h"
#include "src/display/dispatcher.h"
#include "src/hostlink/can_transport.h"
#include "src/hostlink/decapsulation.h"
#include "src/hostlink/immediate_replies.h"
#include "src/hostlink/watchdog.h"
#include "src/pages/action_channel.h"
#include "src/pages/key_report.h"
#include "src/pages/keypad_scanner.h"
#include "src/parse/parse_thread.h"
#include "src/services/dbshm.h"
#include "src/startup/init_orvik_data.h"

namespace {

using std::chrono::milliseconds;

constexpr const char* BUILD_TIME = __TIME__;

constexpr std::uint64_t COUNTER_ADDRESS = 0x53F90024;
constexpr std::size_t COUNTER_SIZE = 4;
constexpr double COUNTS_PER_SECOND = 32000.0;
constexpr milliseconds WORKER_PAUSE{10};

// Quotes a path as one word of a shell command.
std::string QuoteForShell(const std::string& path) {
  std::string quoted = "'";
  for (const char c : path) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

void CopyDateProgram() {
  const std::string command = "cp " + QuoteForShell(platform::ResolveUnitPath("/fs/etfs/app/orvik/bin/date")) +
                              " " + QuoteForShell(platform::ResolveUnitPath("/fs/etfs/resources/bin/."));
  platform::DrainConsole();  // the command's own lines come after those of the application
  [[maybe_unused]] const int ignored = std::system(command.c_str());
}

// Counts of the hardware counter. As a double, so that a wrap between two readings shows as a negative time.
double ReadHardwareCounter(std::uintptr_t counter) {
  return counter == MAP_DEVICE_FAILED ? 0.0 : static_cast<double>(in32(counter));
}

std::uintptr_t MapCounter() {
  if (ThreadCtl(_NTO_TCTL_IO, nullptr) == -1) PrintErr("netio: ThreadCtl Error");
  return mmap_device_io(COUNTER_SIZE, COUNTER_ADDRESS);
}

void InitMutexes(orvikData_t* data) {
  for (pthread_mutex_t* mutex :
       {&data->canMutex, &data->decapMutex, &data->displayMutex, &data->beeperMutex, &data->dialsMutex}) {
    pthread_mutex_init(mutex, nullptr);
  }
}

struct worker_start_t {
  const char* name;
  int (*init)(orvikData_t*);
  milliseconds pause;
};

constexpr worker_start_t FIRST_WORKERS[] = {
    {"Action Channel", Init_ActionChannel, WORKER_PAUSE},
    {"Dispatch", Init_Dispatch, WORKER_PAUSE},
    {"Decap", Init_Decapsulate, WORKER_PAUSE},
    {"Timer", Init_Timer, WORKER_PAUSE},
    {"CAN", Init_CAN, WORKER_PAUSE},
};

// These workers start after the record's mutexes are initialised.
constexpr worker_start_t LATER_WORKERS[] = {
    {"Watchdog", Init_Watchdog, milliseconds{0}},
    {"Digital I/O", Init_DIO, milliseconds{0}},
    {"Parse", Init_Parse, milliseconds{0}},
    {"Blinker", InitBlinkerThread, WORKER_PAUSE},
};

void StartAndReport(const worker_start_t& worker, orvikData_t* data) {
  const std::string line = std::string("Orvik: ") + worker.name + " Initilization ";
  if (worker.init(data) == 0) {
    PrintOut(line + "OK");
  } else {
    PrintErr(line + "Failed");
  }
  std::this_thread::sleep_for(worker.pause);
}

// The keypad scanner prints its own start-up line; only a failed start is reported here.
void StartKeypad(orvikData_t* data) {
  if (KEYPAD::Init_KeyPad(data) != 0) PrintErr("Orvik: Keypad Initilization Failed");
}

// The barrier ignores the running flags of the keypad scanner and of the blinker.
bool AnyEarlyWorkerRuns(const orvikData_t* data) {
  for (std::size_t slot = 0; slot < THREAD_COUNT; ++slot) {
    if (slot == THREAD_KEYPAD || slot == THREAD_BLINKER) continue;
    if (data->threadRunning[slot] != 0) return true;
  }
  return false;
}

std::string RunningFlags(const orvikData_t* data) {
  std::string flags;
  for (const PlainWord<int>& flag : data->threadRunning) flags += std::to_string(flag.Load());
  return flags;
}

}  // namespace

void BeginStartUp() {
  PrintOut(std::string("\n\nOrvik: Product: QMT740VGA, Version: ") + std::string(VR) +
           ", Compile Date: " + std::string(FD) + "  " + BUILD_TIME);
  PrintOut("Orvik: Starting Orvik Application and Initializing data...");
  CopyDateProgram();
  DBSHM::Open();
}

std::string CheckArguments(const std::vector<std::string>& arguments) {
  if (arguments.size() != 2) {
    PrintOut("Usage: " + (arguments.empty() ? std::string("orvik") : arguments.front()) + " [generic]");
    return {};
  }
  const std::string& path = arguments[1];
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) {
    PrintErr("Orvik: Generic config file (" + path + ") failed.");
    return {};
  }
  return path;
}

void ReadConfiguration(const std::string& path, orvikData_t* data) {
  const std::uintptr_t counter = MapCounter();
  std::ifstream stream(path);
  if (!stream) PrintErr("Orvik: Can't open generic config file: " + path);
  PrintOut("Orvik: Begin parsing configuration file: " + path);
  const double before = ReadHardwareCounter(counter);
  parseGeneric(stream, data);
  const double after = ReadHardwareCounter(counter);
  PrintOut("Orvik: Done parsing configuration file: " + path);
  std::ostringstream took;
  took << "Orvik: Generic parsing took: " << (after - before) / COUNTS_PER_SECOND << " seconds.";
  PrintOut(took.str());
}

void ConnectNotifications(orvikData_t* data) {
  data->nmClient = new NM::NMClient();
  data->eventChannel = data->nmClient->registerName(data->eventChannelName.c_str());
  PrintOut("orvikData.eventChannel: " + std::to_string(data->eventChannel.Load()));
  data->nmClient->subscribe(data->eventChannel);
}

void StartWorkers(orvikData_t* data) {
  data->initialize = InitOrvikData;
  for (const worker_start_t& worker : FIRST_WORKERS) {
    if (worker.init == Init_Timer) data->timerReady = 1;  // the start barrier then passes at once
    StartAndReport(worker, data);
  }
  InitMutexes(data);
  for (const worker_start_t& worker : LATER_WORKERS) StartAndReport(worker, data);
  StartKeypad(data);
}

void PassStartBarrier(const orvikData_t* data) {
  if (AnyEarlyWorkerRuns(data)) return;
  do {
    PrintOut("Wait state: " + RunningFlags(data));
    std::this_thread::sleep_for(WORKER_PAUSE);
    // While the barrier waits, the blinker's flag ends the wait too.
  } while (!AnyEarlyWorkerRuns(data) && data->blinkerReady == 0);
}

void FinishStartUp(orvikData_t* data) {
  InitOrvikData(data);
  data->running = 1;
  SetQMT740KeyPressed(data, 0);
  PrintOut("Orvik: System Up");
}
