#include "simulate/front_keys.h"

#include <chrono>
#include <iostream>
#include <string>

#include <httplib.h>

#include "bus/address_file.h"

namespace simulate {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kMostPresses = 16;

}  // namespace

FrontKeys::~FrontKeys() {
  thread_.request_stop();
  wake_.notify_all();
}

void FrontKeys::Press(int key) {
  const std::scoped_lock lock(mutex_);
  if (waiting_.size() >= kMostPresses) {
    std::cerr << "hx7: press " << key << " is dropped; the panel does not answer\n";
    return;
  }
  waiting_.push_back(key);
  if (!thread_.joinable()) thread_ = std::jthread([this](const std::stop_token& stop) { Work(stop); });
  wake_.notify_all();
}

void FrontKeys::Work(const std::stop_token& stop) {
  for (;;) {
    std::unique_lock lock(mutex_);
    if (!wake_.wait(lock, stop, [this] { return !waiting_.empty(); })) return;
    const int key = waiting_.front();
    waiting_.pop_front();
    lock.unlock();
    const std::string address = bus::ReadAddressFile(bus::PANEL_ADDRESS_FILE);
    httplib::Client panel("http://" + address);
    panel.set_connection_timeout(1s);
    panel.set_read_timeout(1s);
    if (address.empty() || !panel.Post("/api/keys/" + std::to_string(key) + "/press")) {
      std::cerr << "hx7: press " << key << " is ignored; no panel runs here\n";
    }
  }
}

}  // namespace simulate
