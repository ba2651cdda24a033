// The front keys of the display that runs in this runtime directory, moved through its panel.
#pragma once

#include <cstdint>
#include <string>

namespace host {

// One thread at a time.
class FrontKeys {
 public:
  FrontKeys() = default;
  ~FrontKeys();  // lets go of every key that it holds
  FrontKeys(const FrontKeys&) = delete;
  FrontKeys& operator=(const FrontKeys&) = delete;

  // Each moves key 1 to 8 and returns when the panel has it, after a second at the latest. A line on standard
  // error says when no panel takes it.
  void Hold(int key, bool down);
  void Press(int key);  // down and up again, as long as a finger's press

 private:
  static void Post(int key, const std::string& path, const std::string& body);

  std::uint32_t held_ = 0;  // a bit a key
};

}  // namespace host
