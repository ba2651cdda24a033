// A central record for tests, with a real parameter database in a runtime directory of the test process alone.
#pragma once

#include <string>

#include "src/core/orvik_data.h"

// Gives this process a runtime directory of its own (removed at its end) and makes the parameter database
// there, with every parameter of the application. Later calls do nothing.
void PrepareTestRuntime();

// A parameter's value; NaN when it has none.
double ParameterValue(const std::string& name);

// A record as InitOrvikData leaves it where no other folder is needed: mutexes made, English on a 4 × 40 grid,
// `running` set. Writes to the parameter database are ignored. The fields of the text grid belong to the
// process: the test clears them.
class RecordWithoutDatabase {
 public:
  RecordWithoutDatabase();

  operator orvikData_t*() { return &data_; }  // NOLINT(google-explicit-constructor): stands for the record
  orvikData_t* operator->() { return &data_; }

 protected:
  orvikData_t data_;
};

// The same with the parameter database and the handles of all parameters.
class TestRecord : public RecordWithoutDatabase {
 public:
  TestRecord();
};
