#include "src/startup/application.h"

#include <chrono>
#include <csignal>
#include <thread>

#include <unistd.h>

#include "platform/console_writer.h"

#include "src/core/console.h"
#include "src/startup/shutdown.h"
#include "src/startup/startup.h"

namespace {

void StartUp(const std::string& path, orvikData_t* data) {
  ReadConfiguration(path, data);
  ConnectNotifications(data);
  StartWorkers(data);
  PassStartBarrier(data);
  FinishStartUp(data);
}

void AnnounceEnd() {
  PrintOut("Orvik: Main EXIT");
  std::this_thread::sleep_for(std::chrono::seconds{1});
}

}  // namespace

// Writing to a console that is gone raises SIGPIPE, which must not end the display.
void PrepareSignals() {
  sigset_t terminate;
  sigemptyset(&terminate);
  sigaddset(&terminate, SIGUSR1);
  pthread_sigmask(SIG_BLOCK, &terminate, nullptr);
  static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
}

int RunApplication(orvikData_t* data, const std::vector<std::string>& arguments) {
  orvikStop = 0;
  BeginStartUp();
  const std::string path = CheckArguments(arguments);
  if (path.empty()) return EXIT_BAD_CALL;
  StartUp(path, data);
  WaitForTermination(data);
  const bool stopped = StopWorkers(data);
  AnnounceEnd();
  if (!stopped) {
    // A worker that did not stop may still use the record, so the process ends without destroying it.
    platform::DrainConsole();
    _exit(EXIT_ORDERLY);
  }
  return EXIT_ORDERLY;
}
