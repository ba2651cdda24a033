// A publisher to the notification manager that comes back after the manager did.
//
// The unit's services run with or without each other: a manager that is not there yet, or that has been started
// again, must not end them.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <span>
#include <string>

#include "src/services/nm_client.h"

namespace unit {

// A connected client; null while nobody holds the manager's name or the manager does not take the client.
std::unique_ptr<NM::NMClient> ConnectToManager();

// Notices that the manager has been replaced. A client of the first one hears nothing any more. One thread.
class ManagerWatch {
 public:
  // True once for each manager that took an earlier one's place. Looks at most once in NotifyLink::RETRY.
  bool WasReplaced();

 private:
  std::unique_ptr<NM::NMClient> client_;
  bool lost_ = false;
  std::chrono::steady_clock::time_point nextLook_;
};

// Any thread may call.
class NotifyLink {
 public:
  static constexpr std::chrono::milliseconds RETRY{500};

  // Publishes a message. Blocks for one round trip. False when there is no manager at present or it refuses;
  // the link then connects anew, at most once in RETRY.
  bool Publish(const char* channelName, std::span<const std::uint8_t> payload);
  bool Publish(const char* channelName, const std::string& text);
  // The channel's number; -1 when there is no manager at present. Blocks for a round trip the first time.
  int NumberOf(const char* channelName);

 private:
  int ChannelNumber(const char* channelName);
  bool Connect();

  std::mutex mutex_;  // guards all below
  std::unique_ptr<NM::NMClient> client_;
  std::map<std::string, int> channels_;
  std::chrono::steady_clock::time_point nextTry_;
};

}  // namespace unit
