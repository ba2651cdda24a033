#include "support/console_capture.h"

#include <gtest/gtest.h>

ConsoleCapture::ConsoleCapture() {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
}

ConsoleCapture::~ConsoleCapture() {
  Stop();
}

const std::string& ConsoleCapture::Out() {
  Stop();
  return out_;
}

const std::string& ConsoleCapture::Err() {
  Stop();
  return err_;
}

void ConsoleCapture::Stop() {
  if (!running_) return;
  running_ = false;
  out_ = testing::internal::GetCapturedStdout();
  err_ = testing::internal::GetCapturedStderr();
}
