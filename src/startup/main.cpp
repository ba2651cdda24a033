// The display application's process.

#include "src/startup/application.h"

int main(int argc, char* argv[]) {
  PrepareSignals();
  orvikData_t data;
  return RunApplication(&data, {argv, argv + argc});
}
