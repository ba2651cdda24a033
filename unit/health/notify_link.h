// A connection for publishing that is made again when the notification manager was started again.
//
// Every service of the unit can run without the others, so a manager that is missing or restarted must not end
// them.
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

// A connected client; null while no manager runs or the manager refuses the client.
std::unique_ptr<NM::NMClient> ConnectToManager();

// Detects that the notification manager was replaced: clients of the old one receive nothing any more. For one
// thread.
class ManagerWatch {
 public:
  // True once for each manager that replaced an earlier one, or appeared where there was none. Checks at most
  // once in NotifyLink::RETRY.
  bool WasReplaced();
  // A manager was there at the last look.
  bool IsThere() const { return client_ != nullptr; }

 private:
  std::unique_ptr<NM::NMClient> client_;
  bool lost_ = false;
  std::chrono::steady_clock::time_point nextLook_;
};

// Any thread.
class NotifyLink {
 public:
  static constexpr std::chrono::milliseconds RETRY{500};

  // Publishes a message. Blocks until the manager has answered. False when no manager runs or the manager
  // refuses the message; the link then connects again, at most once in RETRY.
  bool Publish(const char* channelName, std::span<const std::uint8_t> payload);
  bool Publish(const char* channelName, const std::string& text);
  // The channel's number; -1 when no manager runs. The first call for a channel blocks until the manager has
  // answered.
  int RegisterChannel(const char* channelName);

 private:
  int ChannelNumber(const char* channelName);
  bool Connect();

  std::mutex mutex_;  // guards all below
  std::unique_ptr<NM::NMClient> client_;
  std::map<std::string, int> channels_;
  std::chrono::steady_clock::time_point nextTry_;
};

}  // namespace unit
