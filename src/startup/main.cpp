// The display application's process.

#include "platform/process.h"

#include "src/startup/application.h"

int main(int argc, char* argv[]) {
  platform::RestrictProcess();
  PrepareSignals();
  orvikData_t data;
  return RunApplication(&data, {argv, argv + argc});
}
