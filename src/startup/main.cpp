// The display application's process.

#include <cstdlib>
#include <tuple>

#include "platform/console_writer.h"
#include "platform/process.h"
#include "platform/threads.h"

#include "src/startup/application.h"

namespace {

// The application has some 90 open: a socket for each of its threads at each service that the thread sends to.
constexpr unsigned DESCRIPTORS = 128;
constexpr int EXIT_SHORT_OF_DESCRIPTORS = 1;

}  // namespace

int main(int argc, char* argv[]) {
  platform::RestrictProcess();
  PrepareSignals();
  // The unit has told the user what the system refuses.
  if (std::getenv(platform::REAL_TIME_VARIABLE) != nullptr) std::ignore = platform::EnterRealTime();
  const platform::ConsoleWriter console("Orvik");
  platform::RaiseThread();  // and with it the workers, but not the console's thread
  if (const std::string problem = platform::EnsureDescriptors(DESCRIPTORS); !problem.empty()) {
    platform::PrintLine(stderr, "Orvik: " + problem);
    return EXIT_SHORT_OF_DESCRIPTORS;
  }
  orvikData_t data;
  return RunApplication(&data, {argv, argv + argc});
}
