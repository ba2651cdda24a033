#include "unit/panel/panel_service.h"

#include <array>
#include <atomic>
#include <chrono>
#include <thread>

#include "base/host_port.h"
#include "unit/health/subscriber.h"
#include "unit/panel/http_server.h"
#include "unit/screen/client/screen_requests.h"
#include "unit/service/database_change.h"
#include "unit/service/worker_service.h"

namespace unit {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr auto PACE = 20ms;

// All parts of the running panel. The subscriber's thread takes the messages of the other services, the pace
// thread releases keys and sends changes to the streams, the server's threads answer requests.
class PanelWorker {
 public:
  explicit PanelWorker(const options_t& options)
      : state_(hub_, ReadParameterFile(options.configDirectory + "/parameters.xml")),
        server_(
            http::ParseAddress(options.httpAddress),
            {state_, hub_, keys_, [this] { return connected_.load(); }, options.configDirectory + "/words"}),
        subscriber_(
            {SCREEN_CHANGES_CHANNEL_NAME, BOARD_CHANNEL_NAME, BUS_CHANNEL_NAME, HEALTH_CHANNEL_NAME,
             DATABASE_CHANNEL_NAME},
            [this](std::size_t channel, auto payload) { Accept(channel, payload); },
            [this] { state_.AcceptReconnect(); }),
        pace_([this] { Pace(); }) {}
  ~PanelWorker() {
    stopping_ = true;
    pace_.join();
  }
  PanelWorker(const PanelWorker&) = delete;
  PanelWorker& operator=(const PanelWorker&) = delete;

  status_t GetStatus() const {
    const http::LocalServer& server = server_.Server();
    return {"panel",
            true,
            "http://" + base::FormatHostPort(server.Address()) + "/",
            {{"requests", server.Requests()}, {"refused", server.Refused()}, {"streams", hub_.Count()}}};
  }

 private:
  void Accept(std::size_t channel, std::span<const std::uint8_t> payload) {
    const std::string text(payload.begin(), payload.end());
    switch (channel) {
      case 0:
        return state_.AcceptScreen(text);
      case 1:
        return state_.AcceptBoard(text);
      case 2:
        return state_.AcceptBus(text);
      case 3:
        return state_.AcceptHealth(text, steady_clock::now());
      default:
        return state_.AcceptDatabase(payload);
    }
  }

  void Pace() {
    while (!stopping_) {
      const auto now = steady_clock::now();
      connected_ = subscriber_.IsConnected();
      keys_.Step(now);
      state_.Step(now, connected_);
      std::this_thread::sleep_for(PACE);
    }
  }

  StreamHub hub_;
  KeyHolder keys_;
  PanelState state_;
  std::atomic<bool> connected_{false};
  std::atomic<bool> stopping_{false};
  HttpServer server_;
  Subscriber subscriber_;
  std::thread pace_;
};

}  // namespace

std::unique_ptr<Service> MakePanelService(const options_t& options) {
  return std::make_unique<WorkerService<PanelWorker>>("panel", options);
}

}  // namespace unit
