// Presses the front keys of the display that uses the same runtime directory, through its panel's HTTP
// requests.
#pragma once

#include <cstdint>
#include <string>

namespace host {

// For one thread at a time.
class FrontKeys {
 public:
  FrontKeys() = default;
  ~FrontKeys();  // releases every key that is held
  FrontKeys(const FrontKeys&) = delete;
  FrontKeys& operator=(const FrontKeys&) = delete;

  // Both send key 1 to 8 to the panel and return when it has answered, after one second at the latest. If no
  // panel answers, they print a line on standard error.
  void Hold(int key, bool down);
  void Press(int key);  // down and up again after the time of a finger's press

 private:
  static void Post(int key, const std::string& path, const std::string& body);

  std::uint32_t held_ = 0;  // one bit for each key
};

}  // namespace host
