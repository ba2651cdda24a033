#include "support/notify_fixture.h"

#include <array>
#include <thread>

#include "support/test_record.h"

namespace {

class RunningNotifyService {
 public:
  RunningNotifyService() : service_(unit::MakeNotifyService(unit::Options_t{})) { service_->Start(); }
  ~RunningNotifyService() { service_->Stop(); }
  RunningNotifyService(const RunningNotifyService&) = delete;
  RunningNotifyService& operator=(const RunningNotifyService&) = delete;

 private:
  std::unique_ptr<unit::Service> service_;
};

}  // namespace

void WaitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!condition()) {
    ASSERT_LT(std::chrono::steady_clock::now(), end) << "waited in vain";
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

Subscriber::Subscriber(const char* channelName) {
  client_.subscribe(client_.registerName(channelName));
}

std::vector<std::uint8_t> Subscriber::Receive() {
  std::array<char, NM_MESSAGE_SIZE> message{};
  int channel = -1;
  int size = 0;
  while (size == 0) size = client_.recvMsg(channel, message.data(), static_cast<int>(message.size()));
  EXPECT_GT(size, 0);
  return {message.begin(), message.begin() + std::max(size, 0)};
}

NotifyFixture::NotifyFixture() {
  PrepareTestRuntime();
  static const RunningNotifyService service;
}

void NotifyFixture::Publish(const char* channelName, std::span<const std::uint8_t> message) {
  NM::NMClient client;
  client.sendMsg(client.registerName(channelName), reinterpret_cast<const char*>(message.data()),
                 static_cast<int>(message.size()));
}
