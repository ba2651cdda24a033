// Standard output and standard error of a scope, for tests of what the application prints.
#pragma once

#include <string>

// Catches what is printed from its making until Out or Err first asks; both then give the text of that time.
class ConsoleCapture {
 public:
  ConsoleCapture();
  ~ConsoleCapture();
  ConsoleCapture(const ConsoleCapture&) = delete;
  ConsoleCapture& operator=(const ConsoleCapture&) = delete;

  const std::string& Out();
  const std::string& Err();

 private:
  void Stop();

  bool running_ = true;
  std::string out_;
  std::string err_;
};
