// The display application's process.

#include "platform/console_writer.h"
#include "platform/process.h"

#include "src/startup/application.h"

int main(int argc, char* argv[]) {
  platform::RestrictProcess();
  PrepareSignals();
  const platform::ConsoleWriter console("Orvik");
  orvikData_t data;
  return RunApplication(&data, {argv, argv + argc});
}
