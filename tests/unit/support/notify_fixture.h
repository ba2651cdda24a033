// A notification manager for the length of a test, and subscribers that stand for the unit's services.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "services/nm_client.h"
#include "unit/notify/notify_service.h"

// Polls for a condition; a test that waits in vain fails, and goes on.
void WaitUntil(const std::function<bool()>& condition,
               std::chrono::milliseconds limit = std::chrono::milliseconds(10'000));

// One subscriber of one channel.
class Subscriber {
 public:
  explicit Subscriber(const char* channelName);
  // The next message of the channel; waits for it.
  std::vector<std::uint8_t> Receive();

 private:
  NM::NMClient client_;
};

// The unit's notification manager, one for the test program, in the runtime directory of its own.
class NotifyFixture : public testing::Test {
 protected:
  NotifyFixture();

  // Publishes as another process would.
  static void Publish(const char* channelName, std::span<const std::uint8_t> message);
};
