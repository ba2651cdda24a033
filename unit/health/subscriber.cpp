#include "unit/health/subscriber.h"

#include <algorithm>
#include <array>
#include <utility>

#include "platform/threads.h"

#include "unit/health/notify_link.h"
#include "unit/service/liveness.h"

namespace unit {

Subscriber::Subscriber(std::vector<std::string> channels, handler_t handle, std::function<void()> connected)
    : channels_(std::move(channels)),
      handle_(std::move(handle)),
      connected_(std::move(connected)),
      thread_([this] { Run(); }),
      watcher_([this] { Watch(); }) {}

Subscriber::~Subscriber() {
  stopping_ = true;
  {
    const std::lock_guard lock(mutex_);
    if (client_) client_->wakeReceiver();
  }
  wake_.notify_all();
  thread_.join();
  watcher_.join();
}

void Subscriber::Run() {
  platform::RaiseThread();
  while (!stopping_) {
    std::vector<int> numbers;
    const std::shared_ptr<NM::NMClient> client = Connect(numbers);
    if (client) {
      connectedNow_ = true;
      if (connected_) connected_();
      Receive(*client, numbers);
      connectedNow_ = false;
      const std::lock_guard lock(mutex_);
      client_.reset();
    }
    if (!Pause()) return;
  }
}

// A manager that ends sends no pulse, so the receiving thread would wait for ever. This thread sends the
// manager a request from time to time and wakes the receiver when no answer comes.
void Subscriber::Watch() {
  platform::NameThread("manager watch");
  Liveness liveness("manager watch");
  while (Pause()) {
    liveness.Note();
    std::shared_ptr<NM::NMClient> client;
    {
      const std::lock_guard lock(mutex_);
      client = client_;
    }
    if (client && client->registerName(channels_.front().c_str()) < 0) client->wakeReceiver();
  }
}

std::shared_ptr<NM::NMClient> Subscriber::Connect(std::vector<int>& numbers) {
  std::shared_ptr<NM::NMClient> client = ConnectToManager();
  if (!client) return nullptr;
  for (const std::string& name : channels_) {
    numbers.push_back(client->registerName(name.c_str()));
    if (numbers.back() < 0 || client->subscribe(numbers.back()) < 0) return nullptr;
  }
  const std::lock_guard lock(mutex_);
  client_ = client;
  return client;
}

void Subscriber::Receive(NM::NMClient& client, const std::vector<int>& numbers) {
  std::array<char, NM_PAYLOAD_SIZE> buffer{};
  Liveness liveness("subscriber");
  while (!stopping_) {
    int channel = -1;
    liveness.Rest();
    const int length = client.recvMsg(channel, buffer.data(), static_cast<int>(buffer.size()));
    liveness.Note();
    if (length < 0) return;
    const auto found = std::find(numbers.begin(), numbers.end(), channel);
    if (length == 0 || found == numbers.end()) continue;
    // char and unsigned char have one representation.
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(buffer.data());
    handle_(static_cast<std::size_t>(found - numbers.begin()), {bytes, static_cast<std::size_t>(length)});
  }
}

// Waits before the next try. False when the object is being destroyed.
bool Subscriber::Pause() {
  std::unique_lock lock(mutex_);
  return !wake_.wait_for(lock, NotifyLink::RETRY, [this] { return stopping_.load(); });
}

}  // namespace unit
