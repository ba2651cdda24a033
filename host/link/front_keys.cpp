#include "host/link/front_keys.h"

#include <chrono>
#include <iostream>

#include <httplib.h>

#include "base/address_file.h"

namespace host {
namespace {

constexpr std::chrono::seconds PATIENCE{1};
constexpr int KEYS = 8;

constexpr std::uint32_t Bit(int key) {
  return 1U << static_cast<unsigned>(key);
}

}  // namespace

FrontKeys::~FrontKeys() {
  for (int key = 1; key <= KEYS; ++key) {
    if ((held_ & Bit(key)) != 0) Hold(key, false);
  }
}

void FrontKeys::Hold(int key, bool down) {
  held_ = down ? held_ | Bit(key) : held_ & ~Bit(key);
  Post(key, "", down ? R"({"down":true})" : R"({"down":false})");
}

void FrontKeys::Press(int key) {
  Post(key, "/press", "");
}

void FrontKeys::Post(int key, const std::string& path, const std::string& body) {
  const std::string address = base::ReadAddressFile(base::PANEL_ADDRESS_FILE);
  httplib::Client panel("http://" + address);
  panel.set_connection_timeout(PATIENCE);
  panel.set_read_timeout(PATIENCE);
  if (!address.empty() && panel.Post("/api/keys/" + std::to_string(key) + path, body, "application/json")) {
    return;
  }
  std::cerr << "hx7: front key " << key
            << " is not pressed: no panel answers in this runtime directory; start one with `unit run`\n";
}

}  // namespace host
