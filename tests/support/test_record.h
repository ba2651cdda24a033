// A central record for tests, with a real parameter database in a runtime directory of the test process alone.
#pragma once

#include <string>

#include "src/core/orvik_data.h"

// Gives this process a runtime directory of its own (removed at its end) and makes the parameter database
// there, with every parameter of the application. Once, however often it is called.
void PrepareTestRuntime();

// A parameter's value; NaN when it has none.
double ParameterValue(const std::string& name);

// A record as InitOrvikData leaves it where no other folder is needed: mutexes made, English on a 4 × 40 grid,
// the handles of all parameters, `running` set. The fields of the text grid, which are the process's, are the
// test's to clear. Without a notification client until ConnectEvents.
class TestRecord {
 public:
  TestRecord();

  orvikData_t* Get() { return &data_; }
  operator orvikData_t*() { return &data_; }  // NOLINT(google-explicit-constructor): stands for the record
  orvikData_t* operator->() { return &data_; }

  // Posts events through a client of the notification manager that runs in this process.
  void ConnectEvents(const std::string& channelName);

 private:
  orvikData_t data_;
};
