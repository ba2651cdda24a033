#include "unit/notify/notify_service.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <iostream>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <unordered_map>

#include "platform/messages.h"
#include "platform/names.h"
#include "platform/threads.h"

#include "unit/notify/exchange.h"
#include "unit/notify/heartbeats.h"
#include "unit/notify/program_watch.h"
#include "unit/notify/requests.h"
#include "unit/notify/state_channels.h"
#include "unit/service/liveness.h"

namespace unit {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

// The codes of the pulses that the service sends to itself, and of the pulse to its clients.
constexpr int PULSE_TICK = 1;
constexpr int PULSE_STOP = 2;
constexpr int PULSE_MESSAGE_WAITS = 1;
constexpr std::chrono::milliseconds TICK = 200ms;
constexpr std::chrono::milliseconds OWED_TICK = 5ms;
constexpr auto REPORT_PERIOD = 1s;

// The connections to the channels of the clients.
class ClientPulses : public PulsePort {
 public:
  ~ClientPulses() override {
    for (const auto& [client, coid] : connections_) ConnectDetach(coid);
  }
  bool Open(int client, int process, int chid) override {
    const int coid = ConnectAttach(0, process, chid, _NTO_SIDE_CHANNEL, 0);
    if (coid < 0) return false;
    connections_[client] = coid;
    return true;
  }
  delivery_t Send(int client) override {
    if (MsgSendPulse(connections_.at(client), getprio(0), PULSE_MESSAGE_WAITS, 0) == 0) return delivery_t::SENT;
    return errno == EAGAIN ? delivery_t::FULL : delivery_t::GONE;
  }
  void Close(int client) override {
    ConnectDetach(connections_.at(client));
    connections_.erase(client);
  }

 private:
  std::unordered_map<int, int> connections_;
};

class NotifyService : public Service {
 public:
  explicit NotifyService(const options_t& options)
      : genericFile_(options.genericFile),
        exchange_({options.queueMessages, options.queueBytes}, pulses_),
        requests_(exchange_,
                  [this](int client, int channel, auto payload) { NoteEvent(client, channel, payload); }),
        program_(exchange_) {}
  ~NotifyService() override { NotifyService::Stop(); }

  void Start() override;
  void Stop() override;
  status_t GetStatus() const override;

 private:
  void AttachName();
  void Serve();
  std::size_t Answer(std::span<const std::uint8_t> request, const _msg_info& info,
                     std::span<std::uint8_t, NM_MESSAGE_SIZE> reply);
  bool IsStopping();
  void AcceptPulse(const _pulse& pulse);
  void NoteEvent(int client, int channel, std::span<const std::uint8_t> payload);
  state_key_t HeartbeatKey(std::span<const std::uint8_t> event) const;
  void Tick();
  void ReportLosses(steady_clock::time_point now);
  void Pace();
  void AskForTicks();
  void SetOwedDelay(bool paid);

  const std::string genericFile_;
  name_attach_t* attach_ = nullptr;
  int self_ = -1;  // connection to the service's own channel
  std::thread server_;
  std::thread pacer_;
  std::atomic<bool> up_{false};

  mutable std::mutex mutex_;  // guards the five below; the server thread writes them, GetStatus reads them
  HeartbeatMonitor heartbeats_;
  ClientPulses pulses_;
  Exchange exchange_;
  RequestHandler requests_;
  ProgramWatch program_;

  steady_clock::time_point nextReport_;  // of the server thread

  std::mutex paceMutex_;  // guards the three below
  bool stopping_ = false;
  bool fast_ = false;  // the next tick comes after owedDelay_, because a pulse is owed
  std::chrono::milliseconds owedDelay_ = OWED_TICK;
  std::condition_variable paceChanged_;
};

void NotifyService::Start() {
  if (const std::string problem = heartbeats_.ReadEvents(genericFile_); !problem.empty()) {
    std::cerr << "notify: the application's workers are not supervised: " << problem << std::endl;
  } else {
    const int channel = exchange_.RegisterName(heartbeats_.ChannelName());
    heartbeats_.SetChannel(channel);
    exchange_.SetStateRule(channel, [this](auto event) { return HeartbeatKey(event); });
    exchange_.SetNewsChannel(channel, exchange_.RegisterName(EVENT_NEWS_CHANNEL_NAME),
                             [this](auto event) { return !heartbeats_.IsHeartbeat(event); });
  }
  SetStateRules(exchange_);
  AttachName();
  stopping_ = false;
  up_ = true;
  server_ = std::thread([this] { Serve(); });
  pacer_ = std::thread([this] { Pace(); });
}

void NotifyService::AttachName() {
  attach_ = name_attach(nullptr, NM_SERVER_NAME, 0);
  if (attach_ == nullptr) {
    const int error = errno;
    throw std::runtime_error(
        std::string("cannot take the name \"") + NM_SERVER_NAME + "\": " + std::strerror(error) +
        (error == EEXIST ? "; another notification manager runs here, stop it first" : ""));
  }
  self_ = ConnectAttach(0, 0, attach_->chid, _NTO_SIDE_CHANNEL, 0);
  if (self_ < 0) {
    const int error = errno;
    name_detach(attach_, 0);
    attach_ = nullptr;
    throw std::runtime_error(std::string("cannot connect to its own channel: ") + std::strerror(error));
  }
}

void NotifyService::Stop() {
  if (attach_ == nullptr) return;
  {
    const std::lock_guard lock(paceMutex_);
    stopping_ = true;
  }
  paceChanged_.notify_all();
  pacer_.join();
  // A channel without room for this pulse has others, which wake the thread; it then finds stopping_ set.
  MsgSendPulse(self_, getprio(0), PULSE_STOP, 0);
  server_.join();
  ConnectDetach(self_);
  name_detach(attach_, 0);
  attach_ = nullptr;
}

status_t NotifyService::GetStatus() const {
  const std::lock_guard lock(mutex_);
  status_t status{.name = "notify", .up = up_, .detail = {}, .counters = {}};
  status.counters = {{"clients", exchange_.ClientCount()},
                     {"channels", exchange_.ChannelCount()},
                     {"published", exchange_.Published()},
                     {"delivered", exchange_.Delivered()},
                     {"lost", exchange_.Lost()},
                     {"merged", exchange_.Merged()},
                     {"cut", requests_.Cut()}};
  for (std::size_t i = 1; i < REFUSALS; ++i) {
    const auto refusal = static_cast<refusal_t>(i);
    status.counters[RefusalName(refusal)] = requests_.Refused(refusal);
  }
  for (const HeartbeatMonitor::watched_worker_t& worker : heartbeats_.Workers()) {
    if (!worker.lastSeen) continue;
    status.counters[std::string("worker.") + worker.name] = worker.missing ? 0 : 1;
    if (!worker.missing) continue;
    status.detail += (status.detail.empty() ? "no heartbeat from " : ", ") + std::string(worker.name);
  }
  return status;
}

void NotifyService::Serve() {
  platform::NameThread("notify");
  platform::RaiseThread();
  std::array<std::uint8_t, NM_MESSAGE_SIZE> request;
  std::array<std::uint8_t, NM_MESSAGE_SIZE> reply;
  static_assert(sizeof(_pulse) <= NM_MESSAGE_SIZE);
  Liveness liveness("notify");
  while (!IsStopping()) {
    liveness.Note();  // the pacer's ticks end every wait
    _msg_info info{};
    const int rcvid = MsgReceive(attach_->chid, request.data(), request.size(), &info);
    if (rcvid > 0) {
      const auto received = static_cast<std::size_t>(std::max(info.msglen, 0));
      const std::size_t size = Answer(std::span(request).first(received), info, reply);
      MsgReply(rcvid, 0, reply.data(), size);  // fails when the client has ended, which needs no answer
    } else if (rcvid == 0) {
      _pulse pulse;
      std::memcpy(&pulse, request.data(), sizeof pulse);
      AcceptPulse(pulse);
    } else if (errno != EINTR) {
      std::cerr << "notify: cannot receive any more: " << std::strerror(errno) << std::endl;
      break;
    }
  }
  up_ = false;
}

// Returns the size of the reply.
std::size_t NotifyService::Answer(std::span<const std::uint8_t> request, const _msg_info& info,
                                  std::span<std::uint8_t, NM_MESSAGE_SIZE> reply) {
  const auto sent = static_cast<std::size_t>(std::max(info.srcmsglen, info.msglen));
  const std::lock_guard lock(mutex_);
  const std::size_t size = requests_.Answer({request, sent, info.scoid}, reply);
  if (exchange_.AnyPulseOwed()) AskForTicks();
  return size;
}

bool NotifyService::IsStopping() {
  const std::lock_guard lock(paceMutex_);
  return stopping_;
}

void NotifyService::AcceptPulse(const _pulse& pulse) {
  switch (pulse.code) {
    case PULSE_TICK:
      Tick();
      break;
    case _PULSE_CODE_DISCONNECT: {
      const std::lock_guard lock(mutex_);
      program_.NoteEnd(exchange_.RemoveConnection(pulse.scoid), steady_clock::now());
      ConnectDetach(pulse.scoid);
      break;
    }
    default:
      break;
  }
}

void NotifyService::NoteEvent(int client, int channel, std::span<const std::uint8_t> payload) {
  const steady_clock::time_point now = steady_clock::now();
  program_.NoteMessage(client, channel, now);
  if (const auto line = heartbeats_.Note(channel, payload, now)) std::cout << *line << std::endl;
}

// A heartbeat sets that its worker lives; every other event counts each time.
state_key_t NotifyService::HeartbeatKey(std::span<const std::uint8_t> event) const {
  if (!heartbeats_.IsHeartbeat(event)) return {};
  return {std::string(event.begin(), event.end())};
}

void NotifyService::Tick() {
  const std::lock_guard lock(mutex_);
  const steady_clock::time_point now = steady_clock::now();
  const bool paid = exchange_.PayOwedPulses();
  SetOwedDelay(paid);
  if (exchange_.AnyPulseOwed()) AskForTicks();
  for (const std::string& line : heartbeats_.Check(now)) std::cerr << line << std::endl;
  if (now >= nextReport_) ReportLosses(now);
}

void NotifyService::ReportLosses(steady_clock::time_point now) {
  std::ostringstream line;
  for (const loss_t& loss : exchange_.DrainLosses()) {
    line << (line.tellp() > 0 ? ", " : "notify: messages lost by clients that read too slowly: ")
         << loss.messages << " by client " << loss.client << " (process " << loss.process << ")";
  }
  if (line.tellp() <= 0) return;
  std::cerr << line.str() << std::endl;
  nextReport_ = now + REPORT_PERIOD;
}

// Makes the next tick come soon, because a pulse is owed.
void NotifyService::AskForTicks() {
  {
    const std::lock_guard lock(paceMutex_);
    if (fast_) return;
    fast_ = true;
  }
  paceChanged_.notify_all();
}

// A client that does not read is tried less and less often. Its next fetch sends the owed pulses at once in any
// case.
void NotifyService::SetOwedDelay(bool paid) {
  const std::lock_guard lock(paceMutex_);
  owedDelay_ = paid ? OWED_TICK : std::min(owedDelay_ * 2, TICK);
}

// The pacer thread: sends the server thread a tick, since MsgReceive has no time limit.
void NotifyService::Pace() {
  platform::NameThread("notify pace");
  Liveness liveness("notify pace");
  std::unique_lock lock(paceMutex_);
  while (!stopping_) {
    liveness.Note();
    if (!fast_) paceChanged_.wait_for(lock, TICK, [this] { return stopping_ || fast_; });
    if (fast_) paceChanged_.wait_for(lock, owedDelay_, [this] { return stopping_; });
    fast_ = false;
    MsgSendPulse(self_, getprio(0), PULSE_TICK, 0);  // the next tick makes up for one that finds no room
  }
}

}  // namespace

std::unique_ptr<Service> MakeNotifyService(const options_t& options) {
  return std::make_unique<NotifyService>(options);
}

}  // namespace unit
