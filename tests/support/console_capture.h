// Captures the lines that the application prints in a scope.
#pragma once

#include <string>

#include <gtest/gtest.h>

// Captures from construction until the first call of Out or Err; both return the text of that time.
class ConsoleCapture {
 public:
  ConsoleCapture() {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
  }
  ~ConsoleCapture() { Stop(); }
  ConsoleCapture(const ConsoleCapture&) = delete;
  ConsoleCapture& operator=(const ConsoleCapture&) = delete;

  const std::string& Out() { return Stop(), out_; }
  const std::string& Err() { return Stop(), err_; }

 private:
  void Stop() {
    if (!running_) return;
    running_ = false;
    out_ = testing::internal::GetCapturedStdout();
    err_ = testing::internal::GetCapturedStderr();
  }

  bool running_ = true;
  std::string out_;
  std::string err_;
};
