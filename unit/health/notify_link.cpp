#include "unit/health/notify_link.h"

#include <utility>

#include "platform/names.h"

#include "unit/service/service.h"

namespace unit {

std::unique_ptr<NM::NMClient> ConnectToManager() {
  // Checked first, because the client prints an error each time that it finds no manager.
  const int probe = name_open(NM_SERVER_NAME, 0);
  if (probe < 0) return nullptr;
  auto client = std::make_unique<NM::NMClient>();
  name_close(probe);
  if (!client->isValid()) client.reset();
  return client;
}

bool ManagerWatch::WasReplaced() {
  const auto now = std::chrono::steady_clock::now();
  if (now < nextLook_) return false;
  nextLook_ = now + NotifyLink::RETRY;
  if (client_ && client_->registerName(HEALTH_CHANNEL_NAME) < 1) {
    client_.reset();
    lost_ = true;
  }
  if (!client_) client_ = ConnectToManager();
  lost_ = lost_ || !client_;
  return client_ && std::exchange(lost_, false);
}

bool NotifyLink::Publish(const char* channelName, std::span<const std::uint8_t> payload) {
  const std::lock_guard lock(mutex_);
  if (!Connect()) return false;
  const int channel = ChannelNumber(channelName);
  // The client takes its payload as char, through which any object may be read.
  const char* data = reinterpret_cast<const char*>(payload.data());
  if (channel > 0 && client_->sendMsg(channel, data, static_cast<int>(payload.size())) >= 0) return true;
  client_.reset();
  channels_.clear();
  return false;
}

bool NotifyLink::Publish(const char* channelName, const std::string& text) {
  return Publish(channelName, {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

int NotifyLink::RegisterChannel(const char* channelName) {
  const std::lock_guard lock(mutex_);
  return Connect() ? ChannelNumber(channelName) : -1;
}

int NotifyLink::ChannelNumber(const char* channelName) {
  const auto found = channels_.find(channelName);
  if (found != channels_.end()) return found->second;
  const int number = client_->registerName(channelName);
  if (number > 0) channels_.emplace(channelName, number);
  return number;
}

bool NotifyLink::Connect() {
  if (client_) return true;
  const auto now = std::chrono::steady_clock::now();
  if (now < nextTry_) return false;
  nextTry_ = now + RETRY;
  client_ = ConnectToManager();
  return client_ != nullptr;
}

}  // namespace unit
