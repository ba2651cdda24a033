#include "unit/panel/panel_service.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <fstream>
#include <iostream>
#include <memory>
#include <mutex>
#include <span>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/threads.h"

#include "base/host_port.h"
#include "bus/log_lines.h"
#include "unit/health/subscriber.h"
#include "unit/history/history_recorder.h"
#include "unit/history/recorded_history.h"
#include "unit/hostwatch/host_report.h"
#include "unit/panel/http_server.h"
#include "unit/screen/client/screen_requests.h"
#include "unit/service/database_change.h"
#include "unit/service/liveness.h"
#include "unit/service/worker_service.h"
#include "unit/trace/bus_trace.h"
#include "unit/trace/trace_report.h"

namespace unit {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr auto PACE = 20ms;  // while there are readers
constexpr auto RETRY_PERIOD = 1s;
constexpr auto SCREEN_LIMIT = 1s;

// The frames of a bundle's log. A line that is no frame is left out, as the player does.
std::unique_ptr<BusTrace> ReadTrace(const std::string& path) {
  std::vector<bus::frame_t> frames;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    if (const auto read = bus::ParseLogLine(line)) frames.push_back(read->frame);
  }
  auto trace = std::make_unique<BusTrace>();
  trace->Accept(frames);
  return trace;
}

// What the history shows, and the bus of that time.
struct past_t {
  std::unique_ptr<HistorySource> history;
  std::unique_ptr<BusTrace> trace;  // null: the trace of this run
};

// Without a bundle's folder, or where it has no history that can be read, the history of this run.
past_t MakePast(const options_t& options) {
  if (options.historyFolder.empty()) return {std::make_unique<HistoryRecorder>(), nullptr};
  try {
    return {std::make_unique<RecordedHistory>(options.historyFolder), ReadTrace(options.historyBusFile)};
  } catch (const std::runtime_error& error) {
    std::cerr << std::string("panel: ") + error.what() + "; it records this run instead\n" << std::flush;
    return {std::make_unique<HistoryRecorder>(), nullptr};
  }
}

// All parts of the running panel. The subscriber's thread takes the messages of the other services, the pace
// thread releases keys and sends changes to the streams, the server's threads answer requests.
//
// The operator's screen does not need the panel: where another program holds the port, the unit starts without,
// and the pace thread tries again.
class PanelWorker {
 public:
  explicit PanelWorker(const options_t& options)
      : address_(http::ParseAddress(options.httpAddress)),
        wordsFolder_(options.configDirectory + "/words"),
        past_(MakePast(options)),
        state_(hub_, screen_, ReadParameterFile(options.configDirectory + "/parameters.xml")),
        subscriber_(
            {SCREEN_CHANGES_CHANNEL_NAME, BOARD_CHANNEL_NAME, BUS_CHANNEL_NAME, HEALTH_CHANNEL_NAME,
             DATABASE_CHANNEL_NAME, TRACE_CHANNEL_NAME, HOST_CHANNEL_NAME},
            [this](std::size_t channel, auto payload) { Accept(channel, payload); },
            [this] { state_.AcceptReconnect(); }),
        retryAt_(Listen() ? steady_clock::time_point::max() : steady_clock::now() + RETRY_PERIOD),
        pace_([this] { Pace(); }) {}
  ~PanelWorker() {
    stopping_ = true;
    screen_.Close();
    pace_.join();
  }
  PanelWorker(const PanelWorker&) = delete;
  PanelWorker& operator=(const PanelWorker&) = delete;

  status_t GetStatus() const {
    const std::lock_guard lock(mutex_);
    if (!server_) return {"panel", false, problem_, {}};
    const http::LocalServer& server = server_->Server();
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
        return state_.AcceptBoard(text, steady_clock::now());
      case 2:
        return state_.AcceptBus(text);
      case 3:
        return state_.AcceptHealth(text, steady_clock::now());
      case 4:
        return state_.AcceptDatabase(payload);
      case 5:
        return trace_.Accept(payload);
      default:
        return state_.AcceptHost(payload);
    }
  }

  // False where the address is taken.
  bool Listen() {
    std::unique_ptr<HttpServer> server;
    std::string problem;
    try {
      server = std::make_unique<HttpServer>(
          address_,
          panel_parts_t{state_, trace_, past_.trace ? *past_.trace : trace_, hub_, keys_, screen_, pictures_,
                        [this] { return connected_.load(); }, wordsFolder_, *past_.history});
    } catch (const std::runtime_error& error) {
      problem = std::string(error.what()) + " (trying again once a second)";
    }
    const std::lock_guard lock(mutex_);
    if (!server && problem_.empty()) {
      std::cerr << "panel: " + problem + "\n" << std::flush;
    } else if (server && !problem_.empty()) {
      std::cout << "panel: listens now at http://" + base::FormatHostPort(server->Server().Address()) + "/\n"
                << std::flush;
    }
    server_ = std::move(server);
    problem_ = problem;
    return server_ != nullptr;
  }

  void Pace() {
    platform::NameThread("panel pace");
    Liveness liveness("panel pace");
    while (!stopping_) {
      liveness.Note();
      const auto now = steady_clock::now();
      if (now >= retryAt_) {
        retryAt_ = Listen() ? steady_clock::time_point::max() : now + RETRY_PERIOD;
      }
      connected_ = subscriber_.IsConnected();
      const auto next = std::min(keys_.Step(now), now + (hub_.Count() > 0 ? PACE : KeyHolder::LONGEST_PACE));
      state_.Step(now, connected_);
      std::this_thread::sleep_until(next);
    }
  }

  const http::address_t address_;
  const std::string wordsFolder_;
  StreamHub hub_;
  KeyHolder keys_;
  ScreenClient screen_{SCREEN_LIMIT}, pictures_{SCREEN_LIMIT};
  const past_t past_;
  PanelState state_;
  BusTrace trace_;
  std::atomic<bool> connected_{false};
  std::atomic<bool> stopping_{false};
  mutable std::mutex mutex_;            // guards the two below
  std::unique_ptr<HttpServer> server_;  // null while the address is taken
  std::string problem_;                 // why
  Subscriber subscriber_;
  steady_clock::time_point retryAt_;  // the pace thread's
  std::thread pace_;
};

}  // namespace

std::unique_ptr<Service> MakePanelService(const options_t& options) {
  return std::make_unique<WorkerService<PanelWorker>>("panel", options);
}

}  // namespace unit
